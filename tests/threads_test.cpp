// Cancellation from a second thread: it comes while a picture is added or the panorama composed, ends that work in bounded
// time, and leaves a session that makes the same panorama as an undisturbed one.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include "ozr_log.h"
#include "ozr_panorama.h"
#include "panorama.h"
#include "support/engines.h"

namespace
{

constexpr int32_t kWidth = 640;
constexpr int32_t kHeight = 480;
constexpr int32_t kPictures = 3;

std::atomic<bool> g_composing;

// The composition's first line is the moment at which the core has begun.
void watch_progress(const char* format, va_list args)
{
    char line[256];
    vsnprintf(line, sizeof(line), format, args);
    if (strstr(line, "start synthesis") != nullptr)
        g_composing = true;
}

void ignore(const char*, va_list) {}

struct Session {
    Session()
    {
        ozr_log_set_external_debug(watch_progress);
        ozr_log_set_external_error(ignore);
        ozr_panorama_create(nullptr, &pano);
        const ozr_panorama_parameters params = {70, ozr_panorama_direction_right};
        ozr_panorama_set_parameters(pano, &params);
        for (int32_t i = 0; i < kPictures; ++i)
            pictures.push_back(std::make_unique<NoisePicture>(kWidth, kHeight, 190 * i, 2 * i));
    }
    ~Session()
    {
        ozr_panorama_destroy(pano);
        ozr_log_set_external_debug(nullptr);
        ozr_log_set_external_error(nullptr);
    }

    // The engine behind the handle: the session's pointer follows the public part.
    PanoramaInternal* engine() const
    {
        panorama_t* session = nullptr;
        memcpy(&session, pano + 1, sizeof(session));
        return session->engine;
    }

    ozr_err stitch(int32_t i) const
    {
        const PanoImg& img = pictures[static_cast<size_t>(i)]->img;
        ozr_image image = {img.data, img.size, img.width, img.height, ozr_image_format_nv12, img.stride, 0};
        return ozr_panorama_stitch_one_image(pano, &image, nullptr);
    }

    std::vector<uint8_t> sweep() const
    {
        for (int32_t i = 0; i < kPictures; ++i)
            EXPECT_EQ(stitch(i), ozr_success);
        ozr_image out = {};
        EXPECT_EQ(ozr_panorama_run(pano, &out), ozr_success);
        return out.data != nullptr ? std::vector<uint8_t>(out.data, out.data + out.size)
                                   : std::vector<uint8_t>();
    }

    ozr_panorama* pano = nullptr;
    std::vector<std::unique_ptr<NoisePicture>> pictures;
};

using Clock = std::chrono::steady_clock;

// Resets from another thread as soon as `begun` says that the work is under way, plus a delay.
template <class Begun, class Work>
ozr_err reset_during(const Session& s, int32_t delay_us, Begun begun, Work work)
{
    std::atomic<bool> done = {false};
    ozr_err reset = ozr_err_general;
    std::thread other([&] {
        while (!begun() && !done)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::microseconds(delay_us));
        const auto start = Clock::now();
        reset = ozr_panorama_reset(s.pano);
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
    });
    const ozr_err result = work();
    done = true;
    other.join();
    EXPECT_EQ(reset, ozr_success);
    return result;
}

}  // namespace

TEST(Threads, ResetEndsAPictureThatIsBeingAdded)
{
    Session s;
    const std::vector<uint8_t> undisturbed = s.sweep();
    ASSERT_EQ(ozr_panorama_reset(s.pano), ozr_success);
    for (int32_t round = 0; round < 8; ++round) {
        ASSERT_EQ(s.stitch(0), ozr_success);
        PanoramaInternal* pe = s.engine();
        const ozr_err result = reset_during(
            s, round * 500, [&] { return pe->image_state[1] == kSlotAdding; }, [&] { return s.stitch(1); });
        EXPECT_TRUE(result == ozr_success || result == ozr_err_invalid_status) << result;
        EXPECT_EQ(s.sweep(), undisturbed);
        ASSERT_EQ(ozr_panorama_reset(s.pano), ozr_success);
    }
}

TEST(Threads, ResetEndsAComposition)
{
    Session s;
    const std::vector<uint8_t> undisturbed = s.sweep();
    ASSERT_EQ(ozr_panorama_reset(s.pano), ozr_success);
    for (int32_t round = 0; round < 8; ++round) {
        for (int32_t i = 0; i < kPictures; ++i)
            ASSERT_EQ(s.stitch(i), ozr_success);
        g_composing = false;
        ozr_image out = {};
        const ozr_err result = reset_during(
            s, round * 200, [] { return g_composing.load(); },
            [&] { return ozr_panorama_run(s.pano, &out); });
        EXPECT_TRUE(result == ozr_success || result == ozr_err_invalid_status) << result;
        EXPECT_EQ(s.sweep(), undisturbed);
        ASSERT_EQ(ozr_panorama_reset(s.pano), ozr_success);
    }
}

TEST(Threads, DestroyWaitsForTheWork)
{
    for (int32_t round = 0; round < 4; ++round) {
        auto s = std::make_unique<Session>();
        ASSERT_EQ(s->stitch(0), ozr_success);
        PanoramaInternal* pe = s->engine();
        std::atomic<bool> done = {false};
        std::thread other([&] {
            while (pe->image_state[1] != kSlotAdding && !done)
                std::this_thread::yield();
            ozr_panorama_destroy(s->pano);
        });
        const ozr_err result = s->stitch(1);
        done = true;
        other.join();
        s->pano = nullptr;
        EXPECT_TRUE(result == ozr_success || result == ozr_err_invalid_status) << result;
    }
}

TEST(Threads, SynchronousCancelWaitsAndWithdrawsItsRequest)
{
    Session s;
    for (int32_t i = 0; i < kPictures; ++i)
        ASSERT_EQ(s.stitch(i), ozr_success);
    PanoramaInternal* pe = s.engine();
    g_composing = false;
    int32_t cancelled = 0;
    std::thread other([&] {
        while (!g_composing)
            std::this_thread::yield();
        cancelled = panorama_engine_cancel_process(pe);
    });
    ozr_image out = {};
    const ozr_err result = ozr_panorama_run(s.pano, &out);
    other.join();
    // 0: the composition stopped; -7: it ended by itself first. It may also take longer than the wait.
    EXPECT_EQ(result == ozr_success, cancelled == -7) << cancelled;
    if (cancelled != -104) {
        EXPECT_EQ(pe->cancel_requested, 0);
    }
}
