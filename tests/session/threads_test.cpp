// Cancellation from a second thread, at every stage of a sweep: it ends the work in bounded time
// and leaves a session that makes the same panorama as an undisturbed one.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "image/pano_result.h"
#include "ozr_log.h"
#include "session/calls.h"
#include "support/contexts.h"
#include "support/handle.h"
#include "support/images.h"
#include "support/noise.h"
#include "support/wrapped_heap.h"

namespace
{

using Clock = std::chrono::steady_clock;

constexpr uint32_t kSeed = 2611;
// The thread sanitizer sees a word that is not guarded whichever thread comes first, so it needs
// fewer moments.
#ifdef __SANITIZE_THREAD__
constexpr int32_t kRounds = 200;
#else
constexpr int32_t kRounds = 1000;
#endif
constexpr int32_t kWidth = 96, kHeight = 32, kStep = kWidth / 4;

// A session for sweeps to the right.
ozr_panorama* create()
{
    const ozr_panorama_parameters parameters = {70, ozr_panorama_direction_right};
    ozr_panorama* const pano = create_panorama().release();
    EXPECT_EQ(ozr_panorama_set_parameters(pano, &parameters), ozr_success);
    return pano;
}

// A sweep in front of the noise texture, call by call: three pictures, and a
// preview frame of another shape.
class Sweep
{
public:
    enum Step { kFirst, kPreview, kSecond, kThird, kRun, kSteps };

    Sweep()
    {
        for (int32_t step = kFirst; step < kRun; ++step) {
            const int32_t height = step == kPreview ? kHeight * 3 / 4 : kHeight;
            const int32_t left = step < kSecond ? 0 : kStep * (step - kPreview);
            const ozr_image& frame =
                frames_.emplace_back(Geometry{ozr_image_format_nv12, kWidth, height, kWidth}, 1);
            for (int32_t i = 0; i < kWidth * height; ++i)
                frame.data[i] = static_cast<uint8_t>(noise(left + i % kWidth, i / kWidth));
        }
    }

    ozr_err call(ozr_panorama* pano, int32_t step)
    {
        if (step == kRun)
            return ozr_panorama_run(pano, &panorama_);
        ozr_image* const frame = &frames_[static_cast<size_t>(step)];
        ozr_point offset = {kStep, 0};
        ozr_panorama_direction direction = ozr_panorama_direction_auto;
        return step == kPreview ? ozr_panorama_detect_frame_to_stitch(pano, frame, &offset, &direction)
                                : ozr_panorama_stitch_one_image(pano, frame, &offset);
    }

    // The panorama of a whole sweep; empty when a call fails.
    Bytes whole(ozr_panorama* pano)
    {
        for (int32_t step = 0; step < kSteps; ++step) {
            if (call(pano, step) < 0)
                return {};
        }
        return {panorama_.data, panorama_.data + panorama_.size};
    }

private:
    std::vector<TestImage> frames_;
    ozr_image panorama_ = {};
};

enum Disturbance { kReset, kDestroy, kCancel, kCancelAsync, kDisturbances };

// The allocation at which the working call waits for the second thread, and the core
// whose request it waits for.
std::atomic<int64_t> g_meeting;
std::atomic<const PanoramaCore*> g_core;
std::atomic<bool> g_met;

void meet(int64_t allocation)
{
    if (allocation != g_meeting)
        return;
    g_met = true;
    const Clock::time_point end = Clock::now() + std::chrono::seconds(60);
    while (g_core.load()->cancel == 0 && Clock::now() < end)
        std::this_thread::yield();
}

// Makes the second thread's call and returns its result.
int32_t disturb(ozr_panorama* pano, int32_t disturbance)
{
    PanoramaInternal* engine = session_of(pano)->engine;
    if (disturbance == kReset)
        return ozr_panorama_reset(pano);
    if (disturbance == kCancel) {
        const int32_t cancelled = panorama_engine_cancel_process(engine);
        EXPECT_TRUE(cancelled == kPanoSuccess || cancelled == kPanoWrongState ||
                    cancelled == kPanoCancelTimeout)
            << cancelled;
        EXPECT_EQ(engine->cancel_requested, cancelled == kPanoCancelTimeout ? 1 : 0);
        return cancelled;
    }
    if (disturbance == kDestroy)
        ozr_panorama_destroy(pano);
    else
        panorama_engine_cancel_process_async(engine);
    return 0;
}

struct Moment {
    int64_t allocation;     // of the call, or 0:
    Clock::duration delay;  // after its begin
};

// One call, disturbed by a second thread at some moment. Returns the results of the
// call and of the disturbance.
std::pair<ozr_err, int32_t> disturbed_call(Sweep* sweep, ozr_panorama* pano, int32_t step,
                                           int32_t disturbance, const Moment& moment)
{
    const int64_t meeting = moment.allocation;
    std::atomic<bool> ready = {false}, done = {false};
    std::pair<ozr_err, int32_t> outcome;
    g_meeting = meeting;
    g_core = session_of(pano)->engine->core;
    g_met = false;
    std::thread second([&] {
        ready = true;
        while (!(meeting != 0 ? g_met.load() : ozr::session::is_at_work(session_of(pano))) && !done)
            std::this_thread::yield();
        const Clock::time_point begun = Clock::now();
        while (meeting == 0 && Clock::now() < begun + moment.delay)
            std::this_thread::yield();
        outcome.second = disturb(pano, disturbance);
    });
    while (!ready)
        std::this_thread::yield();
    {
        const WrappedHeap heap(0, meet);
        outcome.first = sweep->call(pano, step);
    }
    done = true;
    second.join();
    return outcome;
}

}  // namespace

TEST(Threads, AnyStageMayBeCancelledResetOrDestroyed)
{
    ozr_log_disable();
    Sweep sweep;
    ozr_panorama* pano = create();
    const Bytes undisturbed = sweep.whole(pano);
    ASSERT_FALSE(undisturbed.empty());
    ASSERT_EQ(ozr_panorama_reset(pano), ozr_success);
    Clock::duration lasts[Sweep::kSteps];
    int64_t allocations[Sweep::kSteps];
    for (int32_t step = 0; step < Sweep::kSteps; ++step) {
        const WrappedHeap heap;
        const Clock::time_point begun = Clock::now();
        ASSERT_GE(sweep.call(pano, step), 0);
        lasts[step] = Clock::now() - begun;
        allocations[step] = heap.allocations();
    }
    ASSERT_EQ(ozr_panorama_reset(pano), ozr_success);
    Random random(kSeed);
    for (int32_t round = 0; round < kRounds && !testing::Test::HasFailure(); ++round) {
        const int32_t disturbed_step = round % Sweep::kSteps;
        const int32_t disturbance = random.below(kDisturbances), share = random.below(110);
        // Half of the longer calls wait for the second thread; before the second picture
        // there is no request to wait for.
        const bool meets = disturbed_step >= Sweep::kSecond && random.below(2) == 0;
        const int32_t meeting =
            meets ? 1 + random.below(static_cast<int32_t>(allocations[disturbed_step])) : 0;
        SCOPED_TRACE(testing::Message()
                     << "seed " << kSeed << " round " << round << " step " << disturbed_step
                     << " disturbance " << disturbance << " after " << share << " % of the step");
        for (int32_t step = 0; step < disturbed_step; ++step)
            ASSERT_GE(sweep.call(pano, step), 0);
        const auto& [work, disturbed] = disturbed_call(&sweep, pano, disturbed_step, disturbance,
                                                       {meeting, lasts[disturbed_step] * share / 100});
        // A request before the last check of the work ends it; a later one may come too late.
        EXPECT_EQ(work, work < 0 || meets ? ozr_err_invalid_status : work);
        if (disturbance == kReset)
            EXPECT_EQ(disturbed, ozr_success);
        else if (disturbance == kDestroy)
            pano = create();
        else
            EXPECT_EQ(ozr_panorama_reset(pano), ozr_success);
        EXPECT_EQ(sweep.whole(pano), undisturbed);
        ASSERT_EQ(ozr_panorama_reset(pano), ozr_success);
    }
    ozr_panorama_destroy(pano);
    ozr_log_enable();
}
