// The shared object as an application has it; what its calls do in any order is compared with a model of the session.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/handle.h"
#include "support/log_capture.h"

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

TEST(Interface, AFullSweepIsMadeAndRefusesMore)
{
    const Handle owner = create_panorama();
    ozr_panorama* const pano = owner.get();
    std::vector<uint8_t> pixels(96 * 64 * 3 / 2);
    ozr_image picture = {pixels.data(), 96 * 64 * 3 / 2, 96, 64, ozr_image_format_nv12, 96, 0}, output = {};
    ozr_panorama_parameters params = {70, ozr_panorama_direction_right};
    ASSERT_EQ(ozr_panorama_set_parameters(pano, &params), ozr_success);
    for (int32_t i = 0; i < pano->max_supported_num_images; ++i)
        ASSERT_EQ(ozr_panorama_stitch_one_image(pano, &picture, nullptr), ozr_success);
    {
        const LogCapture log;
        EXPECT_EQ(ozr_panorama_stitch_one_image(pano, &picture, nullptr), ozr_err_out_of_bound);
        const Chain chain = {
            "ozr_err_out_of_bound:  @ stitch_one_image",
            "ozr_err_out_of_bound: from self->panorama->stitch_one_image(input_image, offset) @ "
            "ozr_panorama_stitch_one_image"};
        EXPECT_EQ(log.chain(), chain);
    }
    ozr_point offset = {};
    EXPECT_EQ(ozr_panorama_detect_frame_to_stitch(pano, &picture, &offset, &params.direction), 0);
    ASSERT_EQ(ozr_panorama_run(pano, &output), ozr_success);
    EXPECT_TRUE(output.width > 96 && output.data != nullptr && output.format == ozr_image_format_nv12);
    EXPECT_EQ(ozr_panorama_reset(pano), ozr_success);
    EXPECT_EQ(ozr_panorama_get_parameters(pano, &params), ozr_success);
    EXPECT_EQ(params.overlapping_ratio, 70);
}
