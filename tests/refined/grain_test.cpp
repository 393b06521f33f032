// What is measured of the noise in a picture, and what follows from it.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "kernels/draw.h"
#include "refined/grain.h"
#include "support/noise.h"
#include "support/random.h"

using namespace ozr;
using namespace ozr::refined;

namespace
{

struct Luma {
    int32_t width, height;
    std::vector<uint8_t> bytes;

    // A ramp with a texture of this strength, and noise of the sum of three dice.
    Luma(int32_t w, int32_t h, int32_t texture, int32_t die, Random* random) : width(w), height(h)
    {
        for (int32_t y = 0; y < h; ++y) {
            for (int32_t x = 0; x < w; ++x) {
                int32_t value = 90 + 60 * x / w + (y > h / 2 ? noise(x, y) * texture / 256 : 0);
                for (int32_t i = 0; i < 3; ++i)
                    value += random->below(2 * die + 1) - die;
                bytes.push_back(static_cast<uint8_t>(std::clamp(value, 0, 255)));
            }
        }
    }
    ConstPlane plane() const { return {bytes.data(), width, height, width}; }
    int32_t at(int32_t x, int32_t y) const { return bytes[static_cast<size_t>(y * width + x)]; }

    // The sum of squares that a block of 8 x 8 counts with; negative where the camera cut it off.
    int32_t block(int32_t left, int32_t top) const
    {
        constexpr int32_t kWeights[3][3] = {{1, -2, 1}, {-2, 4, -2}, {1, -2, 1}};
        int32_t sum = 0, counts[256] = {};
        for (int32_t i = 0; i < 64; ++i) {
            const int32_t x = left + i % 8, y = top + i / 8;
            int32_t bend = 0;
            for (int32_t k = 0; k < 9; ++k)
                bend += kWeights[k / 3][k % 3] * at(x + k % 3 - 1, y + k / 3 - 1);
            sum += bend * bend;
            ++counts[at(x, y)];
        }
        const auto present = [](int32_t count) { return count > 0; };
        const auto first = std::find_if(std::begin(counts), std::end(counts), present);
        const auto last = std::find_if(std::rbegin(counts), std::rend(counts), present);
        const bool is_black = first - std::begin(counts) <= 16 && *first > 8;
        const bool is_white = 255 - (last - std::rbegin(counts)) >= 235 && *last > 8;
        return is_black || is_white ? -1 : sum;
    }
};

double variance_of(int32_t die)
{
    return 3.0 * ((2 * die + 1) * (2 * die + 1) - 1) / 12;
}

}  // namespace

TEST(Grain, IsThatOfTheBlocks)
{
    Random random(1);
    for (int32_t round = 0; round < 200; ++round) {
        const int32_t width = 3 + random.below(260), height = 3 + random.below(260);
        Luma luma(width, height, random.below(120), random.below(5), &random);
        const int32_t black = 14 + random.below(5), white = 233 + random.below(5);
        const int32_t lighter = random.below(240) - 120;
        for (uint8_t& byte : luma.bytes)
            byte = static_cast<uint8_t>(std::clamp(byte + lighter + random.below(2), black, white));
        const int32_t columns = std::min((width - 2) / 8, 16), rows = std::min((height - 2) / 8, 16);
        std::vector<double> blocks;
        for (int32_t i = 0; i < columns * rows; ++i) {
            const int32_t block = luma.block(1 + (width - 2) * (i % columns) / columns,
                                             1 + (height - 2) * (i / columns) / rows);
            if (block >= 0)
                blocks.push_back(block / (36.0 * 64));
        }
        std::sort(blocks.begin(), blocks.end());
        const size_t count = blocks.size();
        const double all =
            count < 32 ? 0 : std::accumulate(blocks.begin(), blocks.end(), 0.0) / static_cast<double>(count);
        const Grain grain = measure_grain(luma.plane());
        EXPECT_NEAR(grain.noise, count < 32 ? 0 : 1.49 * blocks[count / 10], 1e-9) << round;
        EXPECT_NEAR(grain.all, all, 1e-9 * all) << round;
    }
}

// Half of the picture is plain: whatever the rest shows, the noise is found.
TEST(Grain, FindsTheNoise)
{
    Random random(2);
    for (int32_t die : {0, 1, 2, 4, 8}) {
        for (int32_t texture : {0, 80, 160}) {
            const Luma luma(320, 240, texture, die, &random);
            const Grain grain = measure_grain(luma.plane());
            EXPECT_NEAR(grain.noise, variance_of(die), 0.12 * variance_of(die) + 0.2)
                << die << " " << texture;
            EXPECT_GE(grain.all, grain.noise - 0.12 * variance_of(die)) << die << " " << texture;
        }
    }
}

// Detail is kept, noise is not; between them the better of both.
TEST(Grain, DecidesTheSoftness)
{
    const struct {
        Grain grain;
        int32_t softness;
    } cases[] = {{{0, 0}, 0},     {{0, 10}, 0},    {{2.8, 10.9}, 0}, {{17, 23.6}, 1},  {{64, 71.6}, 2},
                 {{36, 37.7}, 2}, {{25, 25.2}, 2}, {{2.2, 2.3}, 1},  {{1000, 900}, 2}, {{10, 14.5}, 1},
                 {{10, 15.2}, 0}, {{10, 11.9}, 1}, {{10, 11}, 2}};
    for (const auto& c : cases)
        EXPECT_EQ(softness_for(c.grain), c.softness) << c.grain.noise << " of " << c.grain.all;
    EXPECT_LT(softness_for({1e9, 1e9}), kernels::kDrawSoftnesses);
}
