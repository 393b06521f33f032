// Every allocation of every call fails in turn: the call that meets it reports its code and its chain of lines, nothing
// leaks, and the same call, or the next sweep on the same handle, works.
#include <gtest/gtest.h>

#include "support/handle.h"
#include "support/images.h"
#include "support/log_capture.h"
#include "support/sweeps.h"
#include "support/wrapped_heap.h"

namespace
{

int64_t count_projection_blocks(int32_t width, int32_t height)
{
    const TestCore core;
    const WrappedHeap heap;
    EXPECT_EQ(ozr::core::prepare(core.core, 1, width, height, width), 0);
    return heap.allocations();
}

Chain chain_of(int32_t step, const std::string& code)
{
    const bool run = step == NoiseSweep::kRun;
    const std::string method = run ? "run" : "stitch_one_image";
    const std::string call = "self->panorama->" + method + (run ? "(output_image)" : "(input_image, offset)");
    return {code + ":  @ " + method, code + ": from " + call + " @ ozr_panorama_" + method};
}

}  // namespace

TEST(Faults, EveryAllocationOfASweepMayFail)
{
    const int64_t blocks = count_projection_blocks(96, 32);
    ASSERT_GT(blocks, 2);
    for (int32_t direction = kDirectionRight; direction <= kDirectionUp; ++direction) {
        const bool vertical = ozr::is_vertical(direction);
        NoiseSweep sweep(direction, vertical ? 32 : 96, vertical ? 96 : 32);
        const Handle owner = create_panorama();
        ozr_panorama* const pano = owner.get();
        const std::vector<uint8_t> undisturbed = sweep.whole(pano);
        ASSERT_FALSE(undisturbed.empty());
        ASSERT_EQ(ozr_panorama_reset(pano), ozr_success);
        int32_t step = 0;
        for (int64_t failing = 1; step < NoiseSweep::kSteps; ++failing) {
            SCOPED_TRACE(testing::Message() << "direction " << direction << ", allocation " << failing);
            const LogCapture log;
            WrappedHeap heap(failing);
            int64_t before = 0;
            ozr_err error = ozr_success;
            for (step = 0; step < NoiseSweep::kSteps && error == ozr_success; ++step) {
                before = heap.allocations();
                error = sweep.call(pano, step);
            }
            heap.stop_failing();
            if (error != ozr_success) {
                // A core without its projection is not set up; adding the first picture reports it.
                const bool is_unready = --step == NoiseSweep::kSecond && failing - before <= blocks;
                EXPECT_EQ(error, is_unready ? ozr_err_invalid_status : ozr_err_nomem);
                EXPECT_EQ(log.chain(), chain_of(step, ozr_err_to_string(error)));
            }
            EXPECT_EQ(ozr_panorama_reset(pano), ozr_success);
            EXPECT_EQ(heap.live_blocks(), 0);
            EXPECT_EQ(sweep.whole(pano), undisturbed);
            ASSERT_EQ(ozr_panorama_reset(pano), ozr_success);
        }
    }
}

TEST(Faults, ImagesNameWhatFailed)
{
    const std::string nomem = "ozr_err_nomem: from ";
    const Chain create = {nomem + "image->data = (uint8_t*)ozr_malloc_aligned(image->size, 0x1000) @ "
                                  "ozr_image_create"};
    const Chain recreate = {create[0], nomem + "ozr_image_create(image, width, height, stride, format, "
                                               "image->rotation) @ ozr_image_recreate"};
    const Chain clone = {recreate[0], recreate[1],
                         nomem +
                             "ozr_image_recreate(dst, src->width, src->height, src->stride, src->format) @ "
                             "ozr_image_clone"};
    const Chain convert = {recreate[0], recreate[1],
                           nomem + "validate_image_format_conversion(src, dst, ozr_image_format_nv12) @ "
                                   "ozr_image_convert_to_nv12"};
    const TestImage gray(ozr_image_format_gray, 8, 8, 8, 1), rgba(ozr_image_format_rgba32, 8, 8, 32, 2);
    using Call = ozr_err (*)(const ozr_image*, ozr_image*);
    const struct {
        Call call;
        const ozr_image* src;
        Chain chain;
    } faults[] = {
        {[](auto src, auto dst) { return ozr_image_create(dst, 9, 9, 0, src->format, 0); }, &gray, create},
        {[](auto src, auto dst) { return ozr_image_sample_gray(dst, src, 2); }, &gray, create},
        {[](auto src, auto dst) { return ozr_image_recreate(dst, 9, 9, 0, src->format); }, &gray, recreate},
        {ozr_image_clone, &gray, clone},
        {ozr_image_convert_to_nv12, &rgba, convert},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.chain.back());
        ozr_err result = ozr_err_nomem;
        for (int64_t failing = 1; result == ozr_err_nomem; ++failing) {
            const LogCapture log;
            const WrappedHeap heap(failing);
            {
                OwnedImage dst;
                result = fault.call(fault.src, &dst);
            }
            const bool failed = heap.allocations() >= failing;
            EXPECT_EQ(result, failed ? ozr_err_nomem : ozr_success) << "allocation " << failing;
            EXPECT_EQ(log.chain(), failed ? fault.chain : Chain{});
            EXPECT_TRUE(failed || failing > 1);
            EXPECT_EQ(heap.live_blocks(), 0);
        }
    }
}
