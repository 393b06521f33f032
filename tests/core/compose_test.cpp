// Composition: layout, seams, transitions, and the bytes of the panorama.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>

#include "image/pano_result.h"
#include "support/cores.h"
#include "support/log_capture.h"

namespace
{

// Fills a sweep with flat pictures of the given levels at hand-set positions.
void fill(TestCore* core, const std::vector<int32_t>& levels, int32_t x, int32_t y)
{
    const int32_t count = static_cast<int32_t>(levels.size());
    for (int32_t i = 0; i < count; ++i)
        ASSERT_EQ(core->add(i, x, y, [&](int32_t, int32_t) { return levels[static_cast<size_t>(i)]; }), 0);
    for (int32_t i = 1; i < count; ++i)
        (*core)->offsets[(*core)->forward == 1 ? i : i - 1] = {x, y, 1000 * i};
}

struct Composed {
    Composed(TestCore* core, int32_t count) : result(panorama_core_panorama(core->core, count, owner.get()))
    {
    }
    int32_t luma(int32_t x, int32_t y) const { return ozr::pano_row(&img, y)[x]; }
    int32_t chroma(int32_t x, int32_t y) const { return ozr::pano_chroma_row(&img, y)[x]; }

    ozr::PanoImgOwner owner;
    const PanoImg& img = *owner.get();
    const int32_t result;
};

}  // namespace

// Flat pictures: every path costs the same inside the free columns, so the seam runs in the first column right of the
// barred band, `margin` columns in; and each transition byte follows from its weight.
TEST(Compose, BlendsAcrossTheSeamInTheThreeMargins)
{
    const struct {
        int32_t width, margin, step;
    } cases[] = {{640, 16, 4}, {1280, 32, 2}, {2560, 64, 1}, {1920, 48, 0}, {96, 2, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "margin " << c.margin);
        TestCore core(1, c.width, 40);
        const int32_t x = c.width / 2;
        fill(&core, {50, 200}, x, 0);
        const PanoImg& later = core->frames[1];
        std::fill_n(ozr::pano_chroma_row(&later, 0), later.stride * later.height / 2,
                    static_cast<uint8_t>(20));
        const Composed out(&core, 2);
        ASSERT_EQ(out.result, 0);
        ASSERT_EQ(core->margin, c.margin);
        EXPECT_EQ(out.img.width, (c.width + x) & 0xFFF0);
        EXPECT_EQ(out.img.height, 32);
        const int32_t seam = x + c.margin;
        for (int32_t column = 0; column < out.img.width; ++column) {
            const int32_t k = column - (seam - c.margin);
            int32_t want = column < seam ? 50 : 200;
            if (c.step != 0 && k >= 0 && k < 2 * c.margin)
                want = std::min(255, ((1 + k * c.step) * 200 + (127 - k * c.step) * 50 + 128) >> 7);
            ASSERT_EQ(out.luma(column, 0), want) << column;
            ASSERT_EQ(out.luma(column, 31), want);
            const int32_t pair = column / 2 - (seam - c.margin) / 2;
            const int32_t chroma = column % 2 == 0 ? 100 : 150, weight = 1 + pair * 2 * c.step;
            int32_t want_chroma = column / 2 < seam / 2 ? chroma : 20;
            if (c.step != 0 && pair >= 0 && pair < c.margin)
                want_chroma = (weight * 20 + (128 - weight) * chroma + 128) >> 7;
            ASSERT_EQ(out.chroma(column, 15), want_chroma) << column;
        }
        EXPECT_EQ(core->mean_score, 1000);
    }
}

// Pictures of which each shows its own row number: the output shows the rows that all have in common.
TEST(Compose, ShowsTheCommonBandOfDriftingPictures)
{
    for (int32_t drift : {3, -3}) {
        TestCore core(1, 96, 64);
        fill(&core, {0, 0, 0}, 32, drift);
        for (int32_t i = 0; i < 3; ++i)
            fill_luma(core->frames[i], [=](int32_t, int32_t y) { return y + i * drift + 10; });
        const Composed out(&core, 3);
        ASSERT_EQ(out.result, 0);
        EXPECT_EQ(out.img.height, (64 - 6) & ~15);
        EXPECT_EQ(out.img.width, 160);
        const int32_t top = drift > 0 ? 6 : 0;
        for (int32_t y = 0; y < out.img.height; ++y) {
            for (int32_t x = 0; x < 160; ++x)
                ASSERT_EQ(out.luma(x, y), top + y + 10) << x << "," << y;
        }
    }
}

TEST(Compose, EndsTheSweepBeforeTooMuchDrift)
{
    TestCore core(1, 96, 64);
    fill(&core, {10, 20, 30, 40}, 32, 12);  // 12, 24, then 36 of 64 rows lost: less than half in common
    LogCapture log;
    const Composed out(&core, 4);
    EXPECT_EQ(out.result, 0);
    EXPECT_EQ(core->g_nCount, 3);
    EXPECT_EQ(core->overlaps, 2);
    EXPECT_EQ(core->mean_score, (1000 + 2000) / 2);
    EXPECT_EQ(out.img.width, 96 + 64);
    EXPECT_EQ(out.img.height, (64 - 24) & ~15);
    EXPECT_EQ(log.progress(),
              (Lines{"panorama_core_panorama: start synthesis 4 image(s), (size: 96x64)",
                     "panorama_core_panorama: Actual # of image in synthesis is 3. (ignored after)"}));
}

TEST(Compose, OnePictureIsThePanorama)
{
    for (int32_t forward : {1, 0}) {
        TestCore core(forward, 96, 64);
        fill(&core, {10, 20}, 32, 40);
        LogCapture log;
        const Composed out(&core, 2);
        EXPECT_EQ(out.result, 0);
        EXPECT_EQ(out.img.width, 96);
        EXPECT_EQ(out.luma(50, 30), forward == 1 ? 10 : 20);
        EXPECT_EQ(log.progress().back(), "panorama_core_panorama: Exiting synthesis: pi->g_nCount(1) == 1");
        EXPECT_EQ(log.progress()[2], forward == 1 ? "panorama_core_panorama: saving pProject[0]"
                                                  : "panorama_core_panorama: saving pProject[1]");
    }
}

TEST(Compose, SeamsStayInOrder)
{
    // Both overlaps would like their seam in the same canvas columns, the only ones where all agree; the second must stay
    // right of the first, clear of it by the band of 2 columns.
    const auto agreed = [](int32_t y) { return 60 + (y % 16 < 8 ? y % 16 : 16 - y % 16); };
    TestCore core(1, 96, 32);
    fill(&core, {50, 50, 50}, 16, 0);
    for (int32_t i = 0; i < 3; ++i)
        fill_luma(core->frames[i],
                  [&](int32_t x, int32_t y) { return 16 * i + x == agreed(y) ? 50 : 100 + 50 * i; });
    const Composed out(&core, 3);
    ASSERT_EQ(out.result, 0);
    int32_t second = 0;
    for (int32_t y = 31; y >= 0; --y) {
        // All columns that the first seam leaves cost the same: leftmost at the bottom, then straight where that is free.
        second = y == 31 ? agreed(y) + 3 : std::max(second, agreed(y) + 3);
        for (int32_t x = 0; x < 128; ++x) {
            const int32_t want = x == agreed(y) ? 50 : x < agreed(y) ? 100 : x < second ? 150 : 200;
            ASSERT_EQ(out.luma(x, y), want) << x << "," << y;
        }
    }
}

// The first seam runs along the right edge and leaves it: the second still keeps off its own, where it would cost nothing.
TEST(Compose, SeamsKeepOffTheRightEdge)
{
    TestCore core(1, 96, 64);
    fill(&core, {100, 150, 200}, 40, 0);
    core->offsets[1].x = 0;
    fill_luma(core->frames[1],
              [](int32_t x, int32_t y) { return x == (y < 10 ? 93 : std::max(103 - y, 60)) ? 100 : 150; });
    fill_luma(core->frames[2], [](int32_t x, int32_t) { return x == 55 ? 150 : 200; });
    const Composed out(&core, 3);
    ASSERT_EQ(out.result, 0);
    EXPECT_EQ(out.luma(94, 60), 200);
}

TEST(Compose, IsZeroWhereNoPictureLies)
{
    TestCore core(1, 96, 64);
    fill(&core, {50, 200}, 32, 0);
    core->frames[1].width = 80;
    mallopt(M_PERTURB, 85);  // new memory is anything but zero
    const Composed out(&core, 2);
    mallopt(M_PERTURB, 0);
    ASSERT_EQ(out.result, 0);
    ASSERT_EQ(out.img.width, 128);
    for (int32_t x = 0; x < 128; ++x) {
        EXPECT_EQ(out.luma(x, 63) == 0, x >= 112) << x;
        EXPECT_EQ(out.chroma(x, 31) == 0, x >= 112) << x;
    }
}

// A picture of an odd width at an odd column has a chroma pair less than the luma it shows: that of the picture below stays.
TEST(Compose, KeepsChromaThatTheNextPictureDoesNotReach)
{
    TestCore core(1, 96, 64);
    fill(&core, {50, 200}, 1, 0);
    core->frames[1].width = 95;
    const Composed out(&core, 2);
    ASSERT_EQ(out.result, 0);
    ASSERT_EQ(out.img.width, 96);
    EXPECT_EQ(out.luma(95, 10), 200);
    EXPECT_EQ(out.chroma(94, 5), 100);
    EXPECT_EQ(out.chroma(95, 5), 150);
}

TEST(Compose, RefusalsCancellationAndUnplaceablePictures)
{
    TestCore core(1, 96, 64);
    fill(&core, {10, 20}, 32, 0);
    PanoImg out = {};
    LogCapture log;
    EXPECT_EQ(panorama_core_panorama(nullptr, 2, &out), kPanoNullArgument);
    EXPECT_EQ(panorama_core_panorama(core.core, -1, &out), kPanoNotSupported);
    EXPECT_EQ(panorama_core_panorama(core.core, 11, &out), kPanoBadArgument);
    EXPECT_TRUE(log.progress().empty());
    EXPECT_EQ(panorama_core_panorama(core.core, 3, &out), kPanoPictureMissing);
    EXPECT_EQ(panorama_core_panorama(core.core, 0, &out), kPanoNotSupported);
    EXPECT_EQ(log.progress().back(), "panorama_core_panorama: Exiting synthesis: pi->g_nCount(0) < 1");
    core->cancel = 1;
    EXPECT_EQ(panorama_core_panorama(core.core, 2, &out), kPanoCancelled);
    EXPECT_EQ(core->cancel, 0);
    const struct {
        AlignResult at;
        int32_t want;
    } cases[] = {
        {{96, 0, -1}, kPanoNotSupported},  // side by side, as after a search that missed
        {{95, 0, 0}, kPanoNotSupported},  {{97, 0, 0}, kPanoBadArgument},
        {{-1, 0, 0}, kPanoBadArgument},   {{INT32_MIN, 0, 0}, kPanoBadArgument},
    };
    EXPECT_EQ(panorama_core_panorama(core.core, 2, nullptr), kPanoBadArgument);
    for (const auto& c : cases) {
        core->offsets[1] = c.at;
        EXPECT_EQ(panorama_core_panorama(core.core, 2, &out), c.want) << c.at.x;
        EXPECT_EQ(out.data, nullptr);
    }
}
