// Every allocation of every call fails in turn: the call that meets it reports its code and its chain of lines, nothing
// leaks, and the same call, or the next sweep on the same handle, works.
#include <gtest/gtest.h>

#include "core/panorama_seam.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"
#include "support/handle.h"
#include "support/images.h"
#include "support/log_capture.h"
#include "support/sweeps.h"
#include "support/wrapped_heap.h"

namespace
{

int64_t count_projection_tables(int32_t width, int32_t height)
{
    const TestCore core;
    const WrappedHeap heap;
    panorama_core_init(core.core, 1, width, height, width);
    return heap.allocations();
}

Chain chain_of(int32_t step, const std::string& code)
{
    const bool run = step == NoiseSweep::kRun;
    const std::string method = run ? "run" : "stitch_one_image";
    const std::string call = "self->panorama->" + method + (run ? "(output_image)" : "(input_image, offset)");
    return {code + ":  @ " + method, code + ": from " + call + " @ ozr_panorama_" + method};
}

// What the calls of a table make; released in the end.
struct Made {
    TestImg src = TestImg(kPanoGray, 8, 8);
    PanoImg img = {}, lent = {};
    PanoramaCore* core = nullptr;
    PanoramaInternal* engine = nullptr;
    void* block = nullptr;

    ~Made()
    {
        PanoImg_Destroy(&img);
        panorama_core_destroy(core);
        panorama_engine_destroy(&engine);
        PanoFree(block);
    }
};

int32_t make_projection(Made& m)
{
    const int32_t created = panorama_core_create(&m.core);
    return created < 0 ? static_cast<int32_t>(kPanoTablesNoMemory)
                       : panorama_core_init(m.core, 1, 64, 48, 64);
}

int32_t find_seam(Made& m)
{
    const SeamRegion region = {&m.src.img, 0, 0, 8, 8};
    int32_t seam[8];
    return panorama_seam_find(seam, m.src.img.data, &region, &region);
}

// Fails allocation after allocation of `call(made)` until it succeeds, and expects `want` and `chain` each time.
template <class Thing, class Call>
void expect_failures(Call call, int32_t want, const Chain& chain)
{
    int32_t result = want;
    for (int64_t failing = 1; result == want; ++failing) {
        SCOPED_TRACE(testing::Message() << "allocation " << failing);
        const LogCapture log;
        const WrappedHeap heap(failing);
        {
            Thing thing = {};
            result = call(thing);
            const bool failed = heap.allocations() >= failing;
            EXPECT_EQ(result, failed ? want : 0);
            EXPECT_EQ(log.chain(), failed ? chain : Chain{});
            EXPECT_TRUE(failed || failing > 1);
        }
        EXPECT_EQ(heap.live_blocks(), 0);
    }
}

}  // namespace

TEST(Faults, EveryAllocationOfASweepMayFail)
{
    const int64_t tables = count_projection_tables(96, 32);
    ASSERT_GT(tables, 2);
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
                // A core without its tables is not set up, and says so when the first picture comes.
                const bool is_table = --step == NoiseSweep::kSecond && failing - before <= tables;
                EXPECT_EQ(error, is_table ? ozr_err_invalid_status : ozr_err_nomem);
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
        expect_failures<OwnedImage>([&](OwnedImage& dst) { return fault.call(fault.src, &dst); },
                                    ozr_err_nomem, fault.chain);
    }
}

TEST(Faults, WhatTheSweepIsMadeOfReportsItsCode)
{
    const struct {
        const char* what;
        int32_t (*call)(Made& m);
        int32_t want;
    } faults[] = {
        {"block", [](Made& m) { return AlignedCalloc(1, 1, &m.block), m.block != nullptr ? 0 : -1; }, -1},
        {"image", [](Made& m) { return PanoImg_Create(&m.img, 9, 9, kPanoNv12); }, kPanoNoMemory},
        {"clone", [](Made& m) { return PanoImg_Clone(&m.src.img, &m.img); }, kPanoNoMemory},
        {"aligned image", [](Made& m) { return PanoImg_CreateAligned(&m.lent, 9, 9, kPanoNv12, &m.block); },
         kPanoNoMemory},
        {"core", [](Made& m) { return panorama_core_create(&m.core); }, kPanoNoMemory},
        {"projection", make_projection, kPanoTablesNoMemory},
        {"engine", [](Made& m) { return panorama_engine_create(&m.engine); }, kPanoNoMemory},
        {"seam", find_seam, kPanoNoMemory},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.what);
        expect_failures<Made>(fault.call, fault.want, {});
    }
}
