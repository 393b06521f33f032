// The exported interface from outside: defaults, refusals and their chains of log lines.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "ozr_image.h"
#include "ozr_panorama.h"
#include "support/log_capture.h"

namespace
{

using Chain = std::vector<std::string>;

struct Destroy {
    void operator()(ozr_panorama* pano) const { ozr_panorama_destroy(pano); }
};
using Handle = std::unique_ptr<ozr_panorama, Destroy>;

Handle create()
{
    ozr_panorama* pano = nullptr;
    EXPECT_EQ(ozr_panorama_create(nullptr, &pano), ozr_success);
    return Handle(pano);
}

// A picture of random dots, in exactly the bytes it needs.
struct Picture {
    explicit Picture(ozr_image_format format = ozr_image_format_nv12) : bytes(96 * 64 * 3 / 2)
    {
        uint32_t state = 1;
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>((state = state * 1664525U + 1013904223U) >> 24);
        image = {bytes.data(), static_cast<int32_t>(bytes.size()), 96, 64, format, 96, 0};
    }
    std::vector<uint8_t> bytes;
    ozr_image image = {};
};

// Everything that a call of any function may be given, all of it valid.
struct Call {
    Handle owner = create();
    ozr_panorama* handle = owner.get();
    Picture picture;
    ozr_image* image = &picture.image;
    ozr_image output = {};
    ozr_point point = {30, 0};
    ozr_panorama_direction way = ozr_panorama_direction_auto;
    ozr_panorama_direction* direction = &way;
    ozr_panorama_parameters values = {70, ozr_panorama_direction_right};
    ozr_panorama_parameters* params = &values;
    ozr_point* offset = &point;
    struct {
        ozr_panorama info;
        void* session;
    } hollow = {};

    void set_direction() { ozr_panorama_set_parameters(handle, params); }
    void first() { ozr_panorama_stitch_one_image(handle, image, nullptr); }
};

ozr_err set(Call& c)
{
    return ozr_panorama_set_parameters(c.handle, c.params);
}
ozr_err get(Call& c)
{
    return ozr_panorama_get_parameters(c.handle, c.params);
}
ozr_err detect(Call& c)
{
    return ozr_panorama_detect_frame_to_stitch(c.handle, c.image, c.offset, c.direction);
}
ozr_err stitch(Call& c)
{
    return ozr_panorama_stitch_one_image(c.handle, c.image, c.offset);
}
ozr_err reset(Call& c)
{
    return ozr_panorama_reset(c.handle);
}
ozr_err run(Call& c)
{
    return ozr_panorama_run(c.handle, c.image != nullptr ? &c.output : nullptr);
}

void no_handle(Call& c)
{
    c.handle = nullptr;
}
void no_session(Call& c)
{
    c.handle = &c.hollow.info;
}
void no_image(Call& c)
{
    c.image = nullptr;
}
void no_params(Call& c)
{
    c.params = nullptr;
}

struct Fault {
    const char* what;
    ozr_err (*call)(Call& c);
    void (*break_it)(Call& c);
    ozr_err want;
    Chain chain;
};

}  // namespace

TEST(Interface, HandlesShowTheDefaults)
{
    const Handle pano = create();
    ozr_config config = {};
    EXPECT_EQ(ozr_panorama_get_default_config(&config), ozr_success);
    EXPECT_EQ(ozr_panorama_get_default_config(nullptr), ozr_err_invalid_argument);
    EXPECT_EQ(config.version.major, 1);
    EXPECT_EQ(config.version.minor, 0);
    EXPECT_EQ(config.version.patch, 1);
    EXPECT_STREQ(config.description, "OZR 1.0.1-0 - Panorama 1.2.0-OPT2.0");
    EXPECT_EQ(memcmp(&pano->version, &config.version, sizeof(ozr_version)), 0);
    EXPECT_EQ(pano->description, config.description);
    EXPECT_EQ(pano->max_supported_num_images, 10);
    EXPECT_EQ(pano->min_overlapping_ratio, 50);
    EXPECT_EQ(pano->max_overlapping_ratio, 90);
    EXPECT_EQ(pano->default_overlapping_ratio, 70);
    ozr_panorama_destroy(nullptr);
}

TEST(Interface, CreateChecksTheConfiguration)
{
    const struct {
        const char* what;
        void (*change)(ozr_config* config);
        ozr_err want;
    } cases[] = {
        {"revision 7", [](ozr_config* c) { c->version.revision = 7; }, ozr_success},
        {"version 1.0.2", [](ozr_config* c) { c->version.patch = 2; }, ozr_err_not_supported},
        {"version 1.1.1", [](ozr_config* c) { c->version.minor = 1; }, ozr_err_not_supported},
        {"version 2.0.1", [](ozr_config* c) { c->version.major = 2; }, ozr_err_not_supported},
        {"engine 1 without resource", [](ozr_config* c) { c->engine_type = 1; }, ozr_err_not_supported},
        {"engine 1 with resource", [](ozr_config* c) { c->engine_type = 1, c->engine_resource = c; },
         ozr_success},
        {"engine 2", [](ozr_config* c) { c->engine_type = 2; }, ozr_err_not_supported},
        {"aux 1 without resource", [](ozr_config* c) { c->aux_type = 1; }, ozr_err_not_supported},
        {"aux 1 with resource", [](ozr_config* c) { c->aux_type = 1, c->aux_resource = c; }, ozr_success},
        {"aux 2", [](ozr_config* c) { c->aux_type = 2; }, ozr_success},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ozr_config config = {};
        ozr_panorama_get_default_config(&config);
        c.change(&config);
        LogCapture log;
        ozr_panorama* pano = reinterpret_cast<ozr_panorama*>(&config);
        EXPECT_EQ(ozr_panorama_create(&config, &pano), c.want);
        EXPECT_EQ(pano != nullptr, c.want == ozr_success);
        const Chain refused = {"ozr_err_not_supported:  @ create_panorama_engine",
                               "ozr_err_not_supported: from create_panorama_engine(ozr_pano_config, "
                               "&self->panorama) @ ozr_panorama_create"};
        EXPECT_EQ(log.chain(), c.want == ozr_success ? Chain{} : refused);
        ozr_panorama_destroy(pano);
    }
    LogCapture log;
    EXPECT_EQ(ozr_panorama_create(nullptr, nullptr), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(), Chain{"ozr_err_invalid_argument:  @ ozr_panorama_create"});
}

TEST(Interface, EveryFaultHasItsCodeAndItsChain)
{
    const std::string status = "ozr_err_invalid_status: from check_status(self) @ ozr_panorama_";
    const std::string null = "ozr_err_invalid_argument:  @ ozr_panorama_";
    const std::string ratio =
        "ozr_err_not_supported: from check_parameters(self, ozr_params) @ ozr_panorama_set_parameters";
    const std::string stitched =
        ": from self->panorama->stitch_one_image(input_image, offset) @ ozr_panorama_stitch_one_image";
    const Fault faults[] = {
        {"set without handle", set, no_handle, ozr_err_invalid_argument, {null + "set_parameters"}},
        {"set without parameters", set, no_params, ozr_err_invalid_argument, {null + "set_parameters"}},
        {"set without session", set, no_session, ozr_err_invalid_status, {status + "set_parameters"}},
        {"overlap 49", set, [](Call& c) { c.values.overlapping_ratio = 49; }, ozr_err_not_supported, {ratio}},
        {"overlap 91", set, [](Call& c) { c.values.overlapping_ratio = 91; }, ozr_err_not_supported, {ratio}},
        {"overlap -1", set, [](Call& c) { c.values.overlapping_ratio = -1; }, ozr_err_not_supported, {ratio}},
        {"set within a sweep",
         set,
         [](Call& c) { c.first(); },
         ozr_err_invalid_status,
         {"ozr_err_invalid_status:  @ set_parameters",
          "ozr_err_invalid_status: from self->panorama->set_parameters(&param) @ "
          "ozr_panorama_set_parameters"}},
        {"get without handle", get, no_handle, ozr_err_invalid_argument, {null + "get_parameters"}},
        {"get without parameters", get, no_params, ozr_err_invalid_argument, {null + "get_parameters"}},
        {"get without session", get, no_session, ozr_err_invalid_status, {status + "get_parameters"}},
        {"detect without handle",
         detect,
         no_handle,
         ozr_err_invalid_argument,
         {null + "detect_frame_to_stitch"}},
        {"detect without frame",
         detect,
         no_image,
         ozr_err_invalid_argument,
         {null + "detect_frame_to_stitch"}},
        {"detect without offset",
         detect,
         [](Call& c) { c.offset = nullptr; },
         ozr_err_invalid_argument,
         {null + "detect_frame_to_stitch"}},
        {"detect without direction",
         detect,
         [](Call& c) { c.direction = nullptr; },
         ozr_err_invalid_argument,
         {null + "detect_frame_to_stitch"}},
        {"detect without session",
         detect,
         no_session,
         ozr_err_invalid_status,
         {status + "detect_frame_to_stitch"}},
        {"detect before the first picture",
         detect,
         [](Call&) {},
         ozr_err_invalid_status,
         {"ozr_err_invalid_status:  @ detect_frame_to_stitch",
          "ozr_err_invalid_status:  @ ozr_panorama_detect_frame_to_stitch"}},
        {"detect in NV21",
         detect,
         [](Call& c) {
             c.first();
             c.image->format = ozr_image_format_nv21;
         },
         ozr_err_not_supported,
         {"ozr_err_not_supported:  @ detect_frame_to_stitch",
          "ozr_err_not_supported:  @ ozr_panorama_detect_frame_to_stitch"}},
        {"stitch without handle", stitch, no_handle, ozr_err_invalid_argument, {null + "stitch_one_image"}},
        {"stitch without picture", stitch, no_image, ozr_err_invalid_argument, {null + "stitch_one_image"}},
        {"stitch without session", stitch, no_session, ozr_err_invalid_status, {status + "stitch_one_image"}},
        {"stitch RGBA",
         stitch,
         [](Call& c) { c.image->format = ozr_image_format_rgba32; },
         ozr_err_not_supported,
         {"ozr_err_not_supported:  @ stitch_one_image", "ozr_err_not_supported" + stitched}},
        {"stitch without pixels",
         stitch,
         [](Call& c) { c.image->data = nullptr; },
         ozr_err_invalid_argument,
         {"ozr_err_invalid_argument:  @ stitch_one_image", "ozr_err_invalid_argument" + stitched}},
        {"second picture without a direction",
         stitch,
         [](Call& c) { c.first(); },
         ozr_err_invalid_status,
         {"ozr_err_invalid_status:  @ stitch_one_image", "ozr_err_invalid_status" + stitched}},
        {"third picture of another size",
         stitch,
         [](Call& c) {
             c.set_direction();
             c.first();
             c.first();
             c.image->height = 60;
         },
         ozr_err_invalid_argument,
         {"ozr_err_invalid_argument:  @ stitch_one_image", "ozr_err_invalid_argument" + stitched}},
        {"second picture of another stride",
         stitch,
         [](Call& c) {
             c.set_direction();
             c.first();
             c.image->width = c.image->stride = 64;
         },
         ozr_err_invalid_argument,
         {"ozr_err_invalid_argument:  @ stitch_one_image", "ozr_err_invalid_argument" + stitched}},
        {"eleventh picture",
         stitch,
         [](Call& c) {
             c.set_direction();
             for (int32_t i = 0; i < 10; ++i)
                 c.first();
         },
         ozr_err_out_of_bound,
         {"ozr_err_out_of_bound:  @ stitch_one_image", "ozr_err_out_of_bound" + stitched}},
        {"reset without handle", reset, no_handle, ozr_err_invalid_argument, {null + "reset"}},
        {"reset without session", reset, no_session, ozr_err_invalid_status, {status + "reset"}},
        {"run without handle", run, no_handle, ozr_err_invalid_argument, {null + "run"}},
        {"run without output", run, no_image, ozr_err_invalid_argument, {null + "run"}},
        {"run without session", run, no_session, ozr_err_invalid_status, {status + "run"}},
        {"run without pictures",
         run,
         [](Call&) {},
         ozr_err_invalid_status,
         {"ozr_err_invalid_status:  @ run",
          "ozr_err_invalid_status: from self->panorama->run(output_image) @ ozr_panorama_run"}},
    };
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.what);
        Call call;
        fault.break_it(call);
        LogCapture log;
        EXPECT_EQ(fault.call(call), fault.want);
        EXPECT_EQ(log.chain(), fault.chain);
    }
}

TEST(Interface, PicturesThatDoNotOverlapAreLeftOut)
{
    Call call;
    call.set_direction();
    call.first();
    call.point = {1000, 0};
    ASSERT_EQ(stitch(call), ozr_success);
    ASSERT_EQ(run(call), ozr_success);
    EXPECT_EQ(call.output.width, 96);
    EXPECT_EQ(call.output.height, 64);
}

TEST(Interface, ParametersAreKeptUntilAReset)
{
    Call call;
    for (int32_t overlap : {50, 90, 70, 60}) {
        call.values = {overlap, static_cast<ozr_panorama_direction>(overlap == 70 ? 9 : 2)};
        ASSERT_EQ(set(call), ozr_success);
        call.values = {0, ozr_panorama_direction_up};
        ASSERT_EQ(get(call), ozr_success);
        EXPECT_EQ(call.values.overlapping_ratio, overlap);
        EXPECT_EQ(call.values.direction, overlap == 70 ? 0 : 2);  // an unknown direction means auto
        EXPECT_EQ(call.handle->min_overlapping_ratio, 50);
    }
    ASSERT_EQ(reset(call), ozr_success);
    ASSERT_EQ(get(call), ozr_success);
    EXPECT_EQ(call.values.overlapping_ratio, 70);
    EXPECT_EQ(call.values.direction, ozr_panorama_direction_auto);
}

TEST(Interface, AcceptsRecordsThatSayNothingOfTheirSize)
{
    Call call;
    call.values.direction = ozr_panorama_direction_right;
    call.set_direction();
    ASSERT_EQ(stitch(call), ozr_success);
    call.image->size = 0;  // no step of detection looks at it
    EXPECT_EQ(detect(call), 0);
    EXPECT_EQ(stitch(call), ozr_success);
}
