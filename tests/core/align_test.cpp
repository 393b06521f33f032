// Intake and alignment of pictures by the core.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "image/pano_result.h"
#include "support/cores.h"

namespace
{

// Correlation of two projected pictures at an offset, in floating point: sign(r) r^2.
double correlation(const PanoImg& a, const PanoImg& b, int32_t dx, int32_t dy, int32_t margin)
{
    double n = 0, sa = 0, sb = 0, saa = 0, sbb = 0, sab = 0;
    for (int32_t y = std::max(dy, 0); y < std::min(a.height, b.height + dy); ++y) {
        for (int32_t x = std::max(dx, 0) + margin; x < std::min(a.width, b.width + dx) - margin; ++x) {
            const double p = ozr::pano_row(&a, y)[x], q = ozr::pano_row(&b, y - dy)[x - dx];
            n += 1, sa += p, sb += q, saa += p * p, sbb += q * q, sab += p * q;
        }
    }
    const double covariance = sab - sa * sb / n;
    const double r2 = covariance * covariance / ((saa - sa * sa / n) * (sbb - sb * sb / n));
    return covariance < 0 ? -r2 : r2;
}

}  // namespace

TEST(CoreAddInput, FindsWhereThePictureLies)
{
    const struct {
        int32_t forward, width, height, dx, dy, guess_x, guess_y;
    } cases[] = {
        {1, 96, 64, 0, 0, 0, 0},         {1, 96, 64, 30, 2, 28, 0},   {1, 96, 64, 29, -3, 30, -1},
        {0, 96, 64, -31, 4, -29, 2},     {1, 320, 240, 96, 6, 90, 0}, {0, 320, 240, -100, -8, -96, 0},
        {1, 640, 480, 192, -10, 180, 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " moved by " << c.dx << "," << c.dy);
        TestCore core(c.forward, c.width, c.height);
        ASSERT_EQ(core.add(0, 0, 0, noise), 0);
        ASSERT_EQ(core.add(1, c.guess_x, c.guess_y,
                           [&](int32_t x, int32_t y) { return noise(x + c.dx, y + c.dy); }),
                  0);
        EXPECT_EQ(core->aligned[1], 1);
        EXPECT_EQ(core->align[0].pyramid, nullptr);
        EXPECT_NE(core->align[1].pyramid, nullptr);
        EXPECT_EQ(core->align[1].expected_x, c.forward == 1 ? c.guess_x : 0);  // of the pair's right picture
        EXPECT_EQ(core->align[1].expected_y, c.forward == 1 ? c.guess_y : 0);
        // The later picture in canvas order lies to the right of the earlier one, whichever came first.
        const AlignResult& found = core->offsets[c.forward == 1 ? 1 : 0];
        const PanoImg& left = core->frames[c.forward == 1 ? 0 : 1];
        const PanoImg& right = core->frames[c.forward == 1 ? 1 : 0];
        const double here = correlation(left, right, found.x, found.y, core->margin);
        EXPECT_GT(here, 0.1);
        for (int32_t step : {-4, 4}) {
            EXPECT_GT(here, correlation(left, right, found.x + step, found.y, core->margin));
            EXPECT_GT(here, correlation(left, right, found.x, found.y + step, core->margin));
        }
        if (core->half == 0) {  // at full size the score is the correlation of the very pixels
            EXPECT_NEAR(std::ldexp(found.score, -28), here, 0.02);
        }
    }
}

TEST(CoreAddInput, FlatAndHopelessPicturesGetTheirFixedPositions)
{
    const struct {
        int32_t (*value)(int32_t x, int32_t y);
        int32_t guess_x, guess_y;
        AlignResult want;
    } cases[] = {
        {[](int32_t, int32_t) { return 77; }, 30, 0, {30 - 9, -6, 0}},  // the first candidate of the search
        {noise, 200, 0, {96, 64, -1}},                                  // no candidate at all
        {noise, INT32_MAX, 0, {96, 64, -1}},
        {noise, INT32_MIN, 0, {96, 64, -1}},
        {noise, 30, 1000, {96, 64, -1}},
        {noise, 30, INT32_MIN, {96, 64, -1}},
    };
    for (const auto& c : cases) {
        TestCore core(1, 96, 64);
        ASSERT_EQ(core.add(0, 0, 0, c.value), 0);
        ASSERT_EQ(core.add(1, c.guess_x, c.guess_y, c.value), 0);
        const AlignResult& found = core->offsets[1];
        EXPECT_EQ(memcmp(&found, &c.want, sizeof(found)), 0)
            << found.x << "," << found.y << " " << found.score;
    }
}

TEST(CoreAddInput, RefusalsInOrderAndWhoKeepsThePicture)
{
    TestCore core(1, 96, 64);
    ASSERT_EQ(core.add(0, 0, 0, noise), 0);
    const struct {
        uint8_t cancel, initialised;
        int32_t width, height, format, index, want;
        bool kept;
    } cases[] = {
        {1, 0, 96, 62, kPanoGray, 10, kPanoBadArgument, true},
        {1, 0, 96, 62, kPanoGray, -1, kPanoBadArgument, true},
        {1, 0, 96, 62, kPanoGray, 0, kPanoNotSupported, true},
        {1, 0, 96, 62, kPanoGray, 1, kPanoCancelled, false},
        {0, 0, 96, 62, kPanoGray, 1, kPanoCoreNotInitialised, true},
        {0, 1, 104, 64, kPanoNv12, 2, kPanoBadArgument, false},
        {0, 1, 96, 62, kPanoNv12, 2, kPanoBadArgument, false},
        {0, 1, 96, 64, kPanoNv21, 2, kPanoBadArgument, false},
        {0, 1, 96, 64, kPanoNv12, 2, kPanoPreviousMissing, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        core->cancel = c.cancel;
        core->initialised = c.initialised;
        PanoImg img = {};
        PanoImg_Create(&img, c.width, c.height, c.format);
        EXPECT_EQ(panorama_core_add_input(core.core, &img, c.index, 0, 0), c.want);
        EXPECT_EQ(img.data != nullptr, c.kept);
        PanoImg_Destroy(&img);
    }
    EXPECT_EQ(panorama_core_add_input(core.core, nullptr, 1, 0, 0), kPanoNullArgument);
    EXPECT_NE(core->frames[2].data, nullptr);  // projected before the gap showed
}
