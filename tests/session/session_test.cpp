// The session object: wrapping, counting, derived offsets and the mapping of results.
#include <gtest/gtest.h>

#include "session/calls.h"
#include "session/panorama.h"
#include "support/engines.h"
#include "support/log_capture.h"

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
    // It is refused like what a failed reset leaves.
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

TEST(Session, DerivesOffsetsFromTheOverlap)
{
    const struct {
        int32_t overlap, direction, width, height;
        ozr_point want;
    } cases[] = {
        {70, 1, 1000, 750, {300, 0}},  {70, 2, 1000, 750, {-300, 0}}, {70, 3, 1000, 750, {0, 225}},
        {70, 4, 1000, 750, {0, -225}}, {55, 2, 101, 76, {-45, 0}},    {90, 4, 128, 99, {0, -9}},
    };
    for (const auto& c : cases) {
        const Session session;
        panorama_param_t p = {0, 10, c.overlap, static_cast<ozr_panorama_direction>(c.direction)};
        ASSERT_EQ(session->set_parameters(&p), ozr_success);
        const TestImg img(kPanoNv12, c.width, c.height);
        ozr_image picture = img.as_public(ozr_image_format_nv12);
        const ozr_point given = {7, 8};
        ASSERT_EQ(session->stitch_one_image(&picture, &given), ozr_success);
        EXPECT_EQ(session->engine->offsets[0].x, 0);  // the first picture's offset is not asked for
        ASSERT_EQ(session->stitch_one_image(&picture, nullptr), ozr_success);
        EXPECT_EQ(session->engine->offsets[1].x, c.want.x);
        EXPECT_EQ(session->engine->offsets[1].y, c.want.y);
        ASSERT_EQ(session->stitch_one_image(&picture, &given), ozr_success);
        EXPECT_EQ(session->engine->offsets[2].y, 8);
    }
}

TEST(Session, AnnouncesOneLessThanTheCachedMaximum)
{
    for (const auto& [cached, want_last] :
         {std::pair(4, 3), {1, 0}, {0, 12}}) {  // a maximum of 0 sets no limit
        const Session session;
        const TestImg img(kPanoGray, 64, 48);
        const ozr_image frame = img.as_public(ozr_image_format_gray);
        panorama_engine_start_capture(session->engine, &img.img);
        session->engine->direction = kDirectionRight;
        session->params->max_num_images = cached;
        for (int32_t i = 0; i < 12; ++i) {
            session->engine->offset_x = 1000;
            ozr_point offset = {};
            ozr_panorama_direction direction = ozr_panorama_direction_auto;
            EXPECT_EQ(session->detect_frame_to_stitch(&frame, &offset, direction), i < want_last ? i + 1 : 0);
            EXPECT_TRUE(offset.x == 1000 && direction == ozr_panorama_direction_right);
            EXPECT_EQ(session->engine->offset_x, 0);
        }
    }
}

TEST(Session, MapsFormatsInAndOut)
{
    // Frames: only grey, YV12, NV12 and YUY2 (and unknown formats, taken as grey) can be followed.
    const ozr_err followed[] = {0, 0, 0, ozr_err_not_supported, 0, ozr_err_not_supported, 0};
    const TestImg img(kPanoRgba, 64, 48);
    PanoImg gray = img.img;
    gray.format = kPanoGray;
    for (int32_t format = 0; format <= 6; ++format) {
        const Session session;
        ASSERT_EQ(panorama_engine_start_capture(session->engine, &gray), 0);
        const ozr_image frame = img.as_public(static_cast<ozr_image_format>(format));
        ozr_point offset = {};
        ozr_panorama_direction direction = ozr_panorama_direction_auto;
        EXPECT_EQ(session->detect_frame_to_stitch(&frame, &offset, direction), followed[format]);
    }
    // The panorama: a single picture comes back in its own format; 24-bit colour has no public name.
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

TEST(Session, ResetKeepsTheCachedDirectionButNotTheOverlap)
{
    const Session session;
    const panorama_param_t p = {1, 4, 55, ozr_panorama_direction_left};
    ASSERT_EQ(session->set_parameters(&p), ozr_success);
    EXPECT_EQ(session->engine->strict_mode, 0);  // cached, not sent
    ASSERT_EQ(session->reset(), ozr_success);
    EXPECT_EQ(panorama_engine_get_param(session->engine, 2), 70);
    EXPECT_EQ(session->params->overlap_percent, 55);
    EXPECT_EQ(session->get_direction(), ozr_panorama_direction_auto);
    const TestImg img(kPanoNv12, 64, 48);
    ozr_image picture = img.as_public(ozr_image_format_nv12);
    ASSERT_EQ(session->stitch_one_image(&picture, nullptr), ozr_success);
    EXPECT_EQ(session->get_direction(), ozr_panorama_direction_left);
}

TEST(Session, ResetGivesUpOnWorkThatDoesNotEnd)
{
    const Session session;
    session->engine->status = kStatusStopped;  // stopped and never composed
    const ozr::session::Call call(session.session.get());
    LogCapture log;
    EXPECT_EQ(session->reset(), ozr_err_invalid_status);
    EXPECT_EQ(log.chain(), Chain{"ozr_err_invalid_status: from cancel_processes() @ reset"});
    EXPECT_EQ(log.progress().size(), 1U);  // asked once, as far as the log tells
    session->engine->status = kStatusIdle;
}

TEST(Session, RefusesPlanesBeyondThirtyTwoBits)
{
    const Session session;
    const LogCapture log;
    uint8_t pixel = 0;
    ozr_image huge = {&pixel, 0, 1, 46340, ozr_image_format_yv12, 46340, 0};  // the luma alone would fit
    EXPECT_EQ(session->stitch_one_image(&huge, nullptr), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(), Chain{"ozr_err_invalid_argument:  @ stitch_one_image"});
}
