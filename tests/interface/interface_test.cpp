// The shared object as an application has it; what its calls do in any order is compared
// with a model of the session.
#include <gtest/gtest.h>

#include <cstring>

#include "support/handle.h"

TEST(Interface, HandlesShowTheDefaults)
{
    const Handle pano = create_panorama();
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
