// Every allocation of a whole sweep fails in turn: the call that hits it reports a code, nothing leaks, and the next sweep
// on the same handle works.
#include <gtest/gtest.h>

#include "ozr_panorama.h"
#include "support/engines.h"
#include "support/log_capture.h"
#include "support/wrapped_heap.h"

namespace
{

struct Sweep {
    ozr_panorama_direction direction;
    ozr_point step;
};

const Sweep kSweeps[] = {
    {ozr_panorama_direction_right, {30, 0}},
    {ozr_panorama_direction_left, {-30, 0}},
    {ozr_panorama_direction_down, {0, 24}},
    {ozr_panorama_direction_up, {0, -24}},
};

ozr_image image_of(const TestImg& img)
{
    return {
        img.img.data, img.img.size, img.img.width, img.img.height, ozr_image_format_nv12, img.img.stride, 0};
}

// A sweep of three pictures with a preview frame. The first failure ends it.
ozr_err sweep(ozr_panorama* pano, const Sweep& s)
{
    const ozr_panorama_parameters params = {70, s.direction};
    ozr_err error = ozr_panorama_set_parameters(pano, &params);
    for (int32_t i = 0; i < 3 && error == ozr_success; ++i) {
        const NoisePicture picture(96, 96, i * s.step.x, i * s.step.y);
        ozr_image image = image_of(picture);
        error = ozr_panorama_stitch_one_image(pano, &image, &s.step);
        ozr_point offset = {};
        ozr_panorama_direction direction = ozr_panorama_direction_auto;
        if (error == ozr_success && i == 0)
            error = ozr_panorama_detect_frame_to_stitch(pano, &image, &offset, &direction);
    }
    ozr_image panorama = {};
    return error == ozr_success ? ozr_panorama_run(pano, &panorama) : error;
}

}  // namespace

TEST(Faults, EveryAllocationOfASweepMayFail)
{
    for (const Sweep& s : kSweeps) {
        for (int64_t failing = 1;; ++failing) {
            SCOPED_TRACE(testing::Message() << "direction " << s.direction << ", allocation " << failing);
            LogCapture log;
            WrappedHeap heap(failing);
            ozr_panorama* pano = nullptr;
            ozr_err error = ozr_panorama_create(nullptr, &pano);
            EXPECT_EQ(error == ozr_success, pano != nullptr);
            if (pano != nullptr)
                error = sweep(pano, s);
            const bool failed = heap.allocations() >= failing;
            heap.stop_failing();
            if (failed) {
                // The projection tables report under the code of a wrong state.
                EXPECT_TRUE(error == ozr_err_nomem || error == ozr_err_invalid_status) << error;
                EXPECT_FALSE(log.chain().empty());
            } else {
                EXPECT_EQ(error, ozr_success);
            }
            if (pano != nullptr) {
                ozr_image dropped = {};
                ozr_panorama_run(pano, &dropped);  // ends the capture, so that the reset need not wait
                EXPECT_EQ(ozr_panorama_reset(pano), ozr_success);
                EXPECT_EQ(sweep(pano, s), ozr_success);
                ozr_panorama_destroy(pano);
            }
            EXPECT_EQ(heap.live_blocks(), 0);
            if (!failed)
                break;
        }
    }
}

TEST(Faults, AResetWithoutMemoryCanBeRepeated)
{
    ozr_panorama* pano = nullptr;
    ASSERT_EQ(ozr_panorama_create(nullptr, &pano), ozr_success);
    ASSERT_EQ(sweep(pano, kSweeps[0]), ozr_success);
    {
        const WrappedHeap heap(1);
        EXPECT_EQ(ozr_panorama_reset(pano), ozr_err_nomem);
    }
    ozr_panorama_parameters params = {};
    EXPECT_LT(ozr_panorama_get_parameters(pano, &params), 0);
    EXPECT_EQ(ozr_panorama_reset(pano), ozr_success);
    EXPECT_EQ(sweep(pano, kSweeps[0]), ozr_success);
    ozr_panorama_destroy(pano);
}
