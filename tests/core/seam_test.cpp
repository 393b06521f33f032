// Seam finding, against the plain sums of all pixels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "core/panorama_seam.h"
#include "support/cores.h"

namespace
{

// Differences of a few values, so that many paths tie; or the steepest that bytes can have beside a free path that runs slantwise
// to and fro, so that the sums of neighbours lie ever further apart.
struct Texture {
    bool is_slanted;
    int32_t values, period, first, step;

    Texture(Random& random, int32_t width, bool slanted)
        : is_slanted(slanted), values(1 << random.below(slanted ? 5 : 9)),
          period(width + random.below(2 * width)), first(random.below(2) * (width - 1)),
          step(first == 0 ? 1 : -1)
    {
    }
    int32_t difference(Random& random, int32_t column, int32_t row) const
    {
        const int32_t way = std::min(row % period, period - row % period);
        return !is_slanted                    ? random.below(values)
               : column == first + step * way ? 0
                                              : 255 - random.below(values);
    }
    uint8_t mask(Random& random) const
    {
        const int32_t bits = random.below(is_slanted ? 1 : 3);
        return static_cast<uint8_t>(bits == 2 && random.below(2) == 0 ? 255 : bits);
    }
};

}  // namespace

TEST(Seam, IsTheCheapestPath)
{
    int32_t trial = 0;
    for_trials(2000, [&](Random& random) {
        const bool is_large = ++trial % 100 < 2;
        const int32_t width = 2 + random.below(40) + (is_large ? 170 : 0);
        const int32_t height = 1 + random.below(30) + (is_large ? 500 : 0);
        const int32_t x[] = {random.below(4), random.below(4)}, y[] = {random.below(4), random.below(4)};
        const Texture texture(random, width, random.below(3) == 0 || is_large);
        const TestImg a(kPanoGray, width + x[0], height + y[0], random.below(3)),
            b(kPanoGray, width + x[1], height + y[1]);
        ozr_reference::Table<uint8_t> mask(width * height);
        ozr_reference::Table<uint32_t> cost(width * height);
        for (int32_t i = 0; i < width * height; ++i) {
            const int32_t column = i % width, row = i / width;
            uint8_t &p = ozr::pano_row(&a.img, y[0] + row)[x[0] + column],
                    &q = ozr::pano_row(&b.img, y[1] + row)[x[1] + column];
            const int32_t difference = texture.difference(random, column, row);
            q = static_cast<uint8_t>(random.below(256 - difference));
            p = static_cast<uint8_t>(q + difference);
            if (random.below(2) == 0)
                std::swap(p, q);
            mask[i] = texture.mask(random);
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
    const struct {
        SeamRegion a, b;
        int32_t want;
    } cases[] = {{null, good, -4},
                 {good, null, -4},
                 {good, {nullptr, 0, 0, 0, 0}, -4},
                 {empty, good, -4},
                 {good, empty, -4}};
    for (const auto& c : cases)
        EXPECT_EQ(panorama_seam_find(seam, mask, &c.a, &c.b), c.want);
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
}
