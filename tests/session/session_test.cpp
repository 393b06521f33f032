// The session object: wrapping, counting, derived offsets and the mapping of results.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "engine/panorama_engine.h"
#include "session/calls.h"
#include "session/panorama.h"
#include "support/log_capture.h"
#include "support/wrapped_time.h"

namespace
{

struct Session {
    Session() : session(new (std::nothrow_t{}) panorama_t(&config)) {}
    panorama_t* operator->() const { return session.get(); }

    const ozr_config config = {};
    std::unique_ptr<panorama_t> session;
};

}  // namespace

TEST(Session, WithoutAConfigurationThereIsNoEngine)
{
    LogCapture log;
    panorama_t broken(nullptr);
    EXPECT_EQ(broken.engine, nullptr);
    EXPECT_EQ(log.chain(), Chain{"ozr_err_invalid_argument:  @ panorama_t"});
    ASSERT_EQ(log.progress().size(), 1U);
    EXPECT_EQ(log.progress()[0].substr(0, 38), "error:(-3:error_string) @ panorama_t()");
    // It is refused like a session after a failed reset.
    panorama_param_t p = {};
    EXPECT_LT(broken.get_parameters(&p), 0);
    EXPECT_LT(broken.set_parameters(&p), 0);
    EXPECT_LT(broken.reset(), 0);
    broken.set_direction(ozr_panorama_direction_left);
    EXPECT_EQ(broken.get_direction(), ozr_panorama_direction_auto);
}

// Called as a function of its object, as a C caller of the exported symbol would.
ozr_err
set_parameters_of(panorama_t*,
                  const panorama_param_t*) __asm__("_ZN10panorama_t14set_parametersEPK16panorama_param_t");

TEST(Session, SetParametersSurvivesACallWithoutObject)
{
    const LogCapture log;
    const panorama_param_t p = {};
    EXPECT_EQ(set_parameters_of(nullptr, &p), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(), Chain{"ozr_err_invalid_argument:  @ set_parameters"});
}

TEST(Session, MapsTheFormatOfThePanorama)
{
    // A single picture comes back in its own format; 24-bit colour has no public name.
    const int32_t formats[] = {2, 0, 5, 4, 2, 3};
    for (int32_t working : {0, 1, 2, 4, 5}) {
        const Session session;
        ASSERT_EQ(PanoImg_Create(&session->engine->frames[0], 8, 6, working), 0);
        session->engine->frame_present[0] = 1;
        session->engine->image_state[0] = kSlotAdded;
        session->engine->count = 1;
        session->engine->status = kStatusStopped;
        ozr_image out = {};
        out.rotation = 9;
        ASSERT_EQ(session->run(&out), ozr_success);
        EXPECT_EQ(out.format, formats[working]);
        EXPECT_EQ(out.size, session->engine->out_img.size);
        EXPECT_EQ(out.rotation, 0);
    }
}

// The call has just begun a sweep or its composition when the first request
// comes, or is in the midst of it.
TEST(Session, ResetRepeatsItsRequestUntilTheCallHasLeft)
{
    static PanoramaInternal* engine;
    static int32_t becomes;
    static std::unique_ptr<ozr::session::Call> inside;
    static bool leaves;
    const struct {
        int32_t status, becomes;
        int64_t waited;
    } cases[] = {
        {kStatusIdle, kStatusCapturing, 10}, {kStatusIdle, kStatusStopped, 10}, {kStatusStopped, 0, 5}};
    for (const auto& c : cases) {
        for (bool stays : {true, false}) {
            const Session session;
            engine = session->engine;
            engine->status = static_cast<PanoStatus>(c.status);
            becomes = c.becomes;
            leaves = !stays;
            inside = std::make_unique<ozr::session::Call>(session.session.get());
            const LogCapture log;
            const Sleeps sleeps([] {
                if (engine->cancel_requested == 0) {
                    engine->status = static_cast<PanoStatus>(becomes);
                } else if (leaves) {
                    inside = nullptr;
                    engine->status = kStatusCancelled;
                }
            });
            EXPECT_EQ(session->reset(), stays ? ozr_err_invalid_status : ozr_success);
            EXPECT_EQ(sleeps.milliseconds(), stays ? 1000 : c.waited);
            EXPECT_EQ(log.chain(),
                      stays ? Chain{"ozr_err_invalid_status: from cancel_processes() @ reset"} : Chain{});
            EXPECT_EQ(log.progress().size(), stays ? 1U : 2U);  // the log tells of one request
            inside = nullptr;
            engine->status = kStatusIdle;
        }
    }
}

TEST(Session, CallsAreAtWorkInTheirOwnSessionFromFirstToLast)
{
    const Session session, other;
    const panorama_t* own = session.session.get();
    std::vector<std::unique_ptr<ozr::session::Call>> calls;
    for (int32_t i = 0; i < 65; ++i) {  // the last finds no place
        calls.push_back(std::make_unique<ozr::session::Call>(i == 63 ? own : other.session.get()));
        EXPECT_EQ(ozr::session::is_at_work(own), i >= 63);
    }
    for (int32_t i = 0; i < 65; ++i) {
        EXPECT_EQ(ozr::session::is_at_work(own), i <= 63);
        calls[static_cast<size_t>(i)].reset();
    }
    EXPECT_FALSE(ozr::session::is_at_work(other.session.get()));
}

TEST(Session, RefusesPlanesBeyondThirtyTwoBits)
{
    const Session session;
    const LogCapture log;
    uint8_t pixel = 0;
    ozr_image huge = {&pixel, 0, 1, 46340, ozr_image_format_yv12, 46340, 0};  // luma alone fits
    EXPECT_EQ(session->stitch_one_image(&huge, nullptr), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(), Chain{"ozr_err_invalid_argument:  @ stitch_one_image"});
}
