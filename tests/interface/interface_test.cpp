// The exported interface from outside: defaults, refusals and their chains of log lines.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/handle.h"
#include "support/log_capture.h"

namespace
{

// Everything that a call of any function may be given, all of it valid.
struct Call {
    Handle owner = create_panorama();
    ozr_panorama* handle = owner.get();
    std::vector<uint8_t> pixels =
        std::vector<uint8_t>(96 * 64 * 3 / 2);  // exactly as many as the picture needs
    ozr_image picture = {pixels.data(), 96 * 64 * 3 / 2, 96, 64, ozr_image_format_nv12, 96, 0};
    ozr_image* image = &picture;
    ozr_image output = {};
    ozr_image* result = &output;
    ozr_point point = {30, 0};
    ozr_point* offset = &point;
    ozr_panorama_direction way = ozr_panorama_direction_auto;
    ozr_panorama_direction* direction = &way;
    ozr_panorama_parameters values = {70, ozr_panorama_direction_right};
    ozr_panorama_parameters* params = &values;
    struct {
        ozr_panorama info;
        void* session;
    } hollow = {};

    void set_direction() { ozr_panorama_set_parameters(handle, params); }
    void add() { ozr_panorama_stitch_one_image(handle, image, nullptr); }
};

struct Function {
    const char* name;
    const char* passed;  // what it passes to the session; null when it words no failure of it
    ozr_err (*call)(Call& c);
};

const Function kSet = {"set_parameters", "(&param)",
                       [](Call& c) { return ozr_panorama_set_parameters(c.handle, c.params); }};
const Function kGet = {"get_parameters", "(&param)",
                       [](Call& c) { return ozr_panorama_get_parameters(c.handle, c.params); }};
const Function kDetect = {
    "detect_frame_to_stitch", nullptr,
    [](Call& c) { return ozr_panorama_detect_frame_to_stitch(c.handle, c.image, c.offset, c.direction); }};
const Function kStitch = {"stitch_one_image", "(input_image, offset)",
                          [](Call& c) { return ozr_panorama_stitch_one_image(c.handle, c.image, c.offset); }};
const Function kReset = {"reset", "()", [](Call& c) { return ozr_panorama_reset(c.handle); }};
const Function kRun = {"run", "(output_image)", [](Call& c) { return ozr_panorama_run(c.handle, c.result); }};

std::string line(ozr_err error, const std::string& text, const std::string& function)
{
    return std::string(ozr_err_to_string(error)) + ": " + text + " @ " + function;
}

std::string line(ozr_err error, const std::string& text, const Function& function)
{
    return line(error, text, std::string("ozr_panorama_") + function.name);
}

template <class Break>
void expect_refusal(const Function& function, Break break_it, ozr_err want, const Chain& chain)
{
    Call call;
    break_it(call);
    const LogCapture log;
    EXPECT_EQ(function.call(call), want);
    EXPECT_EQ(log.chain(), chain);
}

}  // namespace

TEST(Interface, HandlesShowTheDefaults)
{
    const Handle pano = create_panorama();
    ozr_config config = {};
    EXPECT_EQ(ozr_panorama_get_default_config(&config), ozr_success);
    EXPECT_EQ(ozr_panorama_get_default_config(nullptr), ozr_err_invalid_argument);
    EXPECT_TRUE(config.version.major == 1 && config.version.minor == 0 && config.version.patch == 1);
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
    const Chain refused = {line(ozr_err_not_supported, "", "create_panorama_engine"),
                           line(ozr_err_not_supported,
                                "from create_panorama_engine(ozr_pano_config, &self->panorama)",
                                "ozr_panorama_create")};
    const struct {
        const char* what;
        void (*change)(ozr_config* config);
        bool accepted;
    } cases[] = {
        {"revision 7", [](ozr_config* c) { c->version.revision = 7; }, true},
        {"version 1.0.2", [](ozr_config* c) { c->version.patch = 2; }, false},
        {"version 1.1.1", [](ozr_config* c) { c->version.minor = 1; }, false},
        {"version 2.0.1", [](ozr_config* c) { c->version.major = 2; }, false},
        {"engine 1 without resource", [](ozr_config* c) { c->engine_type = 1; }, false},
        {"engine 1", [](ozr_config* c) { c->engine_type = 1, c->engine_resource = c; }, true},
        {"engine 2", [](ozr_config* c) { c->engine_type = 2; }, false},
        {"aux 1 without resource", [](ozr_config* c) { c->aux_type = 1; }, false},
        {"aux 1", [](ozr_config* c) { c->aux_type = 1, c->aux_resource = c; }, true},
        {"aux 2", [](ozr_config* c) { c->aux_type = 2; }, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ozr_config config = {};
        ozr_panorama_get_default_config(&config);
        c.change(&config);
        const LogCapture log;
        ozr_panorama* pano = reinterpret_cast<ozr_panorama*>(&config);
        EXPECT_EQ(ozr_panorama_create(&config, &pano), c.accepted ? ozr_success : ozr_err_not_supported);
        EXPECT_EQ(pano != nullptr, c.accepted);
        EXPECT_EQ(log.chain(), c.accepted ? Chain{} : refused);
        ozr_panorama_destroy(pano);
    }
    const LogCapture log;
    EXPECT_EQ(ozr_panorama_create(nullptr, nullptr), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(), Chain{line(ozr_err_invalid_argument, "", "ozr_panorama_create")});
}

TEST(Interface, MissingArgumentsAndSessionsAreNamed)
{
    for (const Function* function : {&kSet, &kGet, &kDetect, &kStitch, &kReset, &kRun}) {
        SCOPED_TRACE(function->name);
        expect_refusal(*function, [](Call& c) { c.handle = nullptr; }, ozr_err_invalid_argument,
                       {line(ozr_err_invalid_argument, "", *function)});
        expect_refusal(*function, [](Call& c) { c.handle = &c.hollow.info; }, ozr_err_invalid_status,
                       {line(ozr_err_invalid_status, "from check_status(self)", *function)});
    }
    const struct {
        const Function& function;
        void (*take_away)(Call& c);
    } missing[] = {
        {kSet, [](Call& c) { c.params = nullptr; }},   {kGet, [](Call& c) { c.params = nullptr; }},
        {kDetect, [](Call& c) { c.image = nullptr; }}, {kDetect, [](Call& c) { c.offset = nullptr; }},
        {kStitch, [](Call& c) { c.image = nullptr; }}, {kDetect, [](Call& c) { c.direction = nullptr; }},
        {kRun, [](Call& c) { c.result = nullptr; }},
    };
    for (const auto& argument : missing)
        expect_refusal(argument.function, argument.take_away, ozr_err_invalid_argument,
                       {line(ozr_err_invalid_argument, "", argument.function)});
    for (int32_t overlap : {49, 91, -1})
        expect_refusal(kSet, [&](Call& c) { c.values.overlapping_ratio = overlap; }, ozr_err_not_supported,
                       {line(ozr_err_not_supported, "from check_parameters(self, ozr_params)", kSet)});
}

TEST(Interface, TheSessionsRefusalsArePassedOn)
{
    const struct {
        const char* what;
        const Function& function;
        void (*break_it)(Call& c);
        ozr_err want;
    } faults[] = {
        {"set within a sweep", kSet, [](Call& c) { c.add(); }, ozr_err_invalid_status},
        {"detect before the first picture", kDetect, [](Call&) {}, ozr_err_invalid_status},
        {"stitch RGBA", kStitch, [](Call& c) { c.image->format = ozr_image_format_rgba32; },
         ozr_err_not_supported},
        {"stitch without pixels", kStitch, [](Call& c) { c.image->data = nullptr; },
         ozr_err_invalid_argument},
        {"second picture without a direction", kStitch, [](Call& c) { c.add(); }, ozr_err_invalid_status},
        {"second picture of another stride", kStitch,
         [](Call& c) { c.set_direction(), c.add(), c.image->width = c.image->stride = 64; },
         ozr_err_invalid_argument},
        {"eleventh picture", kStitch,
         [](Call& c) {
             c.set_direction();
             for (int32_t i = 0; i < 10; ++i)
                 c.add();
         },
         ozr_err_out_of_bound},
        {"run without pictures", kRun, [](Call&) {}, ozr_err_invalid_status},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.what);
        const auto& [name, passed, call] = fault.function;
        const std::string reason = passed ? std::string("from self->panorama->") + name + passed : "";
        expect_refusal(fault.function, fault.break_it, fault.want,
                       {line(fault.want, "", name), line(fault.want, reason, fault.function)});
    }
}

TEST(Interface, PicturesThatDoNotOverlapAreLeftOut)
{
    Call call;
    call.set_direction();
    call.add();
    call.point = {1000, 0};
    ASSERT_EQ(kStitch.call(call), ozr_success);
    ASSERT_EQ(kRun.call(call), ozr_success);
    EXPECT_EQ(call.output.width, 96);
    EXPECT_EQ(call.output.height, 64);
}

TEST(Interface, ParametersAreKeptUntilAReset)
{
    Call call;
    const int32_t set[][2] = {{50, 1}, {90, 2}, {60, 3}, {90, 4}, {60, 5}, {90, -1}, {60, 9}, {90, 0}};
    for (const auto& [overlap, way] : set) {
        call.values = {overlap, static_cast<ozr_panorama_direction>(way)};
        ASSERT_EQ(kSet.call(call), ozr_success);
        call.values = {0, ozr_panorama_direction_up};
        ASSERT_EQ(kGet.call(call), ozr_success);
        EXPECT_EQ(call.values.overlapping_ratio, overlap);
        EXPECT_EQ(call.values.direction, way >= 1 && way <= 4 ? way : 0);  // an unknown direction means auto
        EXPECT_EQ(call.handle->min_overlapping_ratio, 50);
    }
    ASSERT_EQ(kReset.call(call), ozr_success);
    ASSERT_EQ(kGet.call(call), ozr_success);
    EXPECT_EQ(call.values.overlapping_ratio, 70);
    EXPECT_EQ(call.values.direction, ozr_panorama_direction_auto);
}

TEST(Interface, AcceptsRecordsThatSayNothingOfTheirSize)
{
    Call call;
    call.values.direction = ozr_panorama_direction_right;
    call.set_direction();
    ASSERT_EQ(kStitch.call(call), ozr_success);
    call.image->size = 0;  // no step of detection looks at it
    EXPECT_EQ(kDetect.call(call), 0);
    EXPECT_EQ(kStitch.call(call), ozr_success);
}
