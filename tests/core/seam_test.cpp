// Seam finding, against the plain sums of all pixels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "core/panorama_seam.h"
#include "support/cores.h"

// Differences of a few values, so that many paths tie; or the steepest that bytes can have beside a
// free path that runs slantwise to and fro, so that the sums of neighbours lie ever further apart.
TEST(Seam, IsTheCheapestPath)
{
    int32_t trial = 0;
    for_trials(2000, [&](Random& random) {
        const bool is_large = ++trial % 100 < 2, is_slanted = is_large || random.below(3) == 0;
        const int32_t width = 2 + random.below(40) + (is_large ? 170 : 0);
        const int32_t height = 1 + random.below(30) + (is_large ? 500 : 0);
        const int32_t values = 1 << random.below(is_slanted ? 5 : 9),
                      period = width + random.below(2 * width);
        const bool from_right = random.below(2) == 0;
        const int32_t x[] = {random.below(4), random.below(4)}, y[] = {random.below(4), random.below(4)};
        const TestImg a(kPanoGray, width + x[0], height + y[0], random.below(3)),
            b(kPanoGray, width + x[1], height + y[1]);
        ozr_reference::Table<uint8_t> mask(width * height);
        ozr_reference::Table<uint32_t> cost(width * height);
        for (int32_t i = 0; i < width * height; ++i) {
            const int32_t column = i % width, row = i / width;
            const int32_t way = std::min(row % period, period - row % period);
            const bool is_free = column == (from_right ? width - 1 - way : way);
            const int32_t few = random.below(values), steep = is_free ? 0 : 255 - few,
                          difference = is_slanted ? steep : few;
            uint8_t &p = ozr::pano_row(&a.img, y[0] + row)[x[0] + column],
                    &q = ozr::pano_row(&b.img, y[1] + row)[x[1] + column];
            q = static_cast<uint8_t>(random.below(256 - difference));
            p = static_cast<uint8_t>(q + difference);
            if (random.below(2) == 0)
                std::swap(p, q);
            const uint8_t masks[] = {0, 0, 1, 1, 2, 255};
            mask[i] = is_slanted ? 0 : masks[random.below(6)];
            cost[i] = static_cast<uint32_t>(std::abs(p - q) | mask[i]);
        }
        ozr_reference::Table<int32_t> seam(height + 1),
            want = ozr_reference::cheapest_path(cost, width, height);
        want.push_back(seam[height] = -7);
        const SeamRegion in_a = {&a.img, x[0], y[0], width, height},
                         in_b = {&b.img, x[1], y[1], width, height};
        ASSERT_EQ(panorama_seam_find(seam.data(), mask.data(), &in_a, &in_b), 0);
        ASSERT_EQ(seam, want) << width << "x" << height;
    });
}

TEST(Seam, RefusalsInOrder)
{
    const TestImg img(kPanoGray, 8, 8);
    const PanoImg no_pixels = {kPanoGray, 8, 8, 8, 64, 0, nullptr};
    int32_t seam[8] = {};
    const uint8_t mask[64] = {};
    const SeamRegion good = {&img.img, 0, 0, 8, 8}, null = {nullptr, 0, 0, 8, 8},
                     empty = {&no_pixels, 0, 0, 8, 8};
    for (const SeamRegion& other : {null, empty, {nullptr, 0, 0, 0, 0}}) {
        EXPECT_EQ(panorama_seam_find(seam, mask, &other, &good), -4);
        EXPECT_EQ(panorama_seam_find(seam, mask, &good, &other), -4);
    }
    const int32_t sizes[][3] = {{0, 8, -2}, {8, 0, -2}, {1, 8, -2}, {-2, 8, -4}, {8, -2, -4}};
    for (const auto& size : sizes) {
        const SeamRegion a = {&img.img, 0, 0, size[0], size[1]};
        EXPECT_EQ(panorama_seam_find(seam, mask, &a, &a), size[2]);
        EXPECT_EQ(panorama_seam_find(seam, mask, &a, &good), -4);
    }
    EXPECT_EQ(panorama_seam_find(nullptr, mask, &good, &good), -3);
    EXPECT_EQ(panorama_seam_find(seam, nullptr, &null, &null), -3);
    EXPECT_EQ(panorama_seam_find(seam, mask, nullptr, &null), -3);
    EXPECT_EQ(panorama_seam_find(seam, mask, &null, nullptr), -3);
    const WrappedHeap full(1);
    EXPECT_EQ(panorama_seam_find(seam, mask, &good, &good), -8);
}
