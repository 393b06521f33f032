// Seam finding, against the plain sums of all pixels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "pano_result.h"
#include "panorama_seam.h"
#include "reference/core_composition.h"
#include "support/cores.h"

namespace
{

using ozr_reference::Columns;

// Two regions of one size anywhere in two pictures, and a mask.
struct Overlap {
    int32_t width, height, x[2], y[2];
    TestImg a, b;
    std::vector<uint8_t> mask;

    Overlap(Random& random, int32_t w, int32_t h)
        : width(w), height(h), x{random.below(4), random.below(4)}, y{random.below(4), random.below(4)},
          a(kPanoGray, w + 5, h + 5, random.below(3)), b(kPanoGray, w + 5, h + 5, random.below(3)),
          mask(static_cast<size_t>(w * h))
    {
    }
    // The steepest differences that bytes can have beside a free path that runs slantwise, or a few values with many ties.
    void fill(Random& random, bool is_slanted)
    {
        const int32_t values = is_slanted ? 1 + random.below(64) : 1 << random.below(9),
                      period = 1 + random.below(2 * width);
        const int32_t first = random.below(width), step = random.below(3) - 1, turns = random.below(2);
        for (int32_t i = 0; i < b.img.size; ++i)
            b.img.data[i] = static_cast<uint8_t>(is_slanted ? 0 : random.below(values));
        fill_luma(a.img, [&](int32_t column, int32_t row) {
            const int32_t phase = row % period, way = turns != 0 ? std::min(phase, period - phase) : phase;
            const bool is_free = is_slanted && column - x[0] == first + step * way;
            return is_free ? 0 : is_slanted ? 255 - random.below(values) : random.below(values);
        });
        for (uint8_t& byte : mask)
            byte = random.below(is_slanted ? 500 : 5) == 0
                       ? 255
                       : static_cast<uint8_t>(random.below(is_slanted ? 1 : 2));
    }
    Columns expected() const
    {
        std::vector<uint32_t> cost(mask.begin(), mask.end());
        for (int32_t i = 0; i < width * height; ++i) {
            const int32_t column = i % width, row = i / width;
            cost[static_cast<size_t>(i)] |= static_cast<uint32_t>(std::abs(
                pano_row(&a.img, y[0] + row)[x[0] + column] - pano_row(&b.img, y[1] + row)[x[1] + column]));
        }
        return ozr_reference::cheapest_path(cost, width, height);
    }
    void check() const
    {
        const SeamRegion in_a = {&a.img, x[0], y[0], width, height},
                         in_b = {&b.img, x[1], y[1], width, height};
        Columns seam(static_cast<size_t>(height + 1), -7), want = expected();
        want.push_back(-7);
        ASSERT_EQ(panorama_seam_find(seam.data(), mask.data(), &in_a, &in_b), 0);
        ASSERT_EQ(seam, want);
    }
};

}  // namespace

TEST(Seam, IsTheCheapestPath)
{
    Random random(21);
    for (int32_t trial = 0; trial < 3000 && !testing::Test::HasFatalFailure(); ++trial) {
        const bool is_slanted = trial % 3 == 0, is_large = trial % 100 == 0;
        const int32_t width = 2 + random.below(is_large ? 230 : 40),
                      height = 1 + random.below(is_large ? 700 : 30);
        SCOPED_TRACE(testing::Message() << "trial " << trial << ": " << width << "x" << height);
        const KernelsByTurns kernels(trial);
        Overlap overlap(random, width, height);
        overlap.fill(random, is_slanted);
        overlap.check();
    }
}

TEST(Seam, RefusalsInOrder)
{
    TestImg img(kPanoGray, 8, 8);
    PanoImg no_pixels = img.img;
    no_pixels.data = nullptr;
    int32_t seam[8] = {};
    const uint8_t mask[64] = {};
    const SeamRegion good = {&img.img, 0, 0, 8, 8};
    const struct {
        SeamRegion a, b;
        int32_t want;
    } cases[] = {
        {{nullptr, 0, 0, 8, 8}, good, kPanoBadArgument},
        {good, {nullptr, 0, 0, 0, 0}, kPanoBadArgument},
        {good, {&img.img, 0, 0, 8, 7}, kPanoBadArgument},
        {good, {&img.img, 0, 0, 7, 8}, kPanoBadArgument},
        {{&img.img, 0, 0, 0, 8}, {&img.img, 0, 0, 0, 8}, kPanoNotSupported},
        {{&img.img, 0, 0, 8, 0}, {&img.img, 0, 0, 8, 0}, kPanoNotSupported},
        {{&img.img, 0, 0, 1, 8}, {&img.img, 0, 0, 1, 8}, kPanoNotSupported},
        {{&img.img, 0, 0, -2, 8}, {&img.img, 0, 0, -2, 8}, kPanoBadArgument},
        {{&img.img, 0, 0, 8, -2}, {&img.img, 0, 0, 8, -2}, kPanoBadArgument},
        {{&no_pixels, 0, 0, 8, 8}, good, kPanoBadArgument},
        {good, {&no_pixels, 0, 0, 8, 8}, kPanoBadArgument},
    };
    for (const auto& c : cases)
        EXPECT_EQ(panorama_seam_find(seam, mask, &c.a, &c.b), c.want);
    EXPECT_EQ(panorama_seam_find(seam, nullptr, &good, &good), kPanoNullArgument);
    EXPECT_EQ(panorama_seam_find(nullptr, mask, &good, &good), kPanoNullArgument);
    EXPECT_EQ(panorama_seam_find(seam, mask, nullptr, &good), kPanoNullArgument);
    EXPECT_EQ(panorama_seam_find(seam, mask, &good, nullptr), kPanoNullArgument);
}
