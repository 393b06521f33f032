// The geometry of a sweep and the projection tables.
#include <gtest/gtest.h>

#include "support/cores.h"

TEST(CoreInit, IsAsTheReferenceHasIt)
{
    for_trials(300, [](Random& random) {
        TestCore core;
        expect_same(core);
        for (int32_t sweep = 0; sweep < 2; ++sweep) {
            const auto oddly = [&](int32_t usual) {
                const int32_t odd[] = {0, -1, -64, 1, 2, 8, 31, 2000000000, INT32_MAX};
                return random.below(15) == 0 ? odd[random.below(9)] : usual;
            };
            const int32_t width = 32 + random.below(random.below(20) == 0 ? 700 : 120),
                          height = 1 + random.below(60);
            core->overlap = core.want.record.overlap = random.below(random.below(2) == 0 ? 101 : 20000);
            core->g_nCount = core.want.record.g_nCount = 3;
            init_both(core,
                      {random.below(3), oddly(width), oddly(height), oddly(width + random.below(40) - 20)},
                      random.below(3) == 0 ? Tables::kNone : Tables::kMade,
                      random.below(4) == 0 ? 1 + random.below(18) : 0);
        }
    });
    const int32_t sizes[][2] = {{160, 120}, {640, 480}, {645, 481}, {1280, 960}, {1920, 1080}, {20000, 16}};
    for (const auto& size : sizes) {
        TestCore core;
        core->overlap = core.want.record.overlap =
            size[0] == 160 ? 50 : 70;  // 80 x 60 x 50 is just too large
        init_both(core, {0, size[0], size[1], size[0]}, Tables::kMade);
    }
}

// Who has tables made may change them: a picture is taken from where they say.
TEST(CoreInit, PicturesAreProjectedByTheTablesMade)
{
    TestCore core;
    ASSERT_EQ(panorama_core_init(core.core, 1, 64, 32, 64), 0);
    TestImg picture(kPanoNv12, 64, 32);
    picture.randomize(1);
    std::fill_n(core->proj.chroma_map, ozr::core::projected_width(core.core) / 2 * 32 / 2, 0);
    ASSERT_EQ(ozr::core::add_lent(core.core, &picture.img, 0, 0, 0), 0);
    const PanoImg& projected = core->frames[0];
    for (int32_t i = 0; i < projected.width * projected.height / 2; ++i)
        ASSERT_EQ(*(ozr::pano_chroma_row(&projected, i / projected.width) + i % projected.width),
                  *(ozr::pano_chroma_row(&picture.img, 0) + i % 2))
            << i;
}

// A size is refused for tables beyond 32-bit sizes, made or not; what the
// sweep before it had is gone.
TEST(CoreInit, RefusesPicturesWhoseTablesNeedLongSizes)
{
    TestCore core;
    core->overlap = 1;
    for (const bool makes_tables : {false, true}) {
        EXPECT_EQ(ozr::core::prepare(core.core, 1, 64, 16, 64), 0);
        core->initialised = 0;
        EXPECT_EQ(makes_tables ? panorama_core_init(core.core, 1, 10000, 13422, 10000)
                               : ozr::core::prepare(core.core, 1, 10000, 13422, 10000),
                  -7);
        EXPECT_EQ(core->initialised, 0);
        EXPECT_EQ(core->projection, nullptr);
    }
    EXPECT_EQ(ozr::core::prepare(core.core, 1, 10000, 13421, 10000), 0);
}

TEST(CoreParameters, OverlapIsBounded)
{
    TestCore core;
    EXPECT_EQ(panorama_core_get_param(core.core, 0), 70);
    for (uint32_t value : {0U, 30U, 100U, 101U, 150U, UINT32_MAX}) {
        EXPECT_EQ(panorama_core_set_param(core.core, 0, value), 0);
        EXPECT_EQ(panorama_core_get_param(core.core, 0), value > 100 ? 70 : static_cast<int32_t>(value));
    }
    EXPECT_EQ(panorama_core_set_param(core.core, 1, 50), -2);
    EXPECT_EQ(panorama_core_get_param(core.core, 1), -4);
    EXPECT_EQ(panorama_core_set_param(nullptr, 0, 50), -3);
    EXPECT_EQ(panorama_core_get_param(nullptr, 0), -3);
    EXPECT_EQ(panorama_core_create(nullptr), -3);
    EXPECT_EQ(panorama_core_destroy(nullptr), 0);
    panorama_core_request_cancel_async(nullptr);
    panorama_core_request_cancel_async(core.core);
    EXPECT_EQ(core->cancel, 1);
}
