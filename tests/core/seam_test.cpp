// Seam finding, against every possible path of small overlaps.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>

#include "core/panorama_seam.h"
#include "image/pano_result.h"
#include "support/pictures.h"

namespace
{

using Columns = std::vector<int32_t>;

// Of all cheapest paths the one that the rules single out: leftmost at the bottom; going up straight first, then left.
Columns best_path(const std::vector<int32_t>& cost, int32_t width, int32_t height)
{
    Columns path(static_cast<size_t>(height)), best;
    int32_t best_cost = INT32_MAX;
    const std::function<void(int32_t, int32_t)> climb = [&](int32_t row, int32_t sum) {
        const int32_t column = path[static_cast<size_t>(row)];
        sum += cost[static_cast<size_t>(row * width + column)];
        if (row == 0) {
            if (sum < best_cost) {
                best_cost = sum;
                best = path;
            }
            return;
        }
        for (int32_t step : {0, -1, 1}) {
            path[static_cast<size_t>(row - 1)] = column + step;
            if (column + step >= 0 && column + step < width)
                climb(row - 1, sum);
        }
    };
    for (int32_t column = 0; column < width; ++column) {
        path.back() = column;
        climb(height - 1, 0);
    }
    return best;
}

// The same from the sums of all pixels, for overlaps with too many paths.
Columns traced_path(std::vector<int32_t> sums, int32_t width, int32_t height)
{
    const auto best = [&](int32_t column, int32_t row) {
        int32_t found = column;
        for (int32_t x : {column - 1, column + 1}) {
            if (x >= 0 && x < width &&
                sums[static_cast<size_t>(row * width + x)] < sums[static_cast<size_t>(row * width + found)])
                found = x;
        }
        return found;
    };
    for (int32_t i = width; i < width * height; ++i)
        sums[static_cast<size_t>(i)] +=
            sums[static_cast<size_t>((i / width - 1) * width + best(i % width, i / width - 1))];
    Columns path(static_cast<size_t>(height));
    const auto last_row = sums.end() - width;
    path.back() = static_cast<int32_t>(std::min_element(last_row, sums.end()) - last_row);
    for (size_t row = path.size() - 1; row > 0; --row)
        path[row - 1] = best(path[row], static_cast<int32_t>(row) - 1);
    return path;
}

}  // namespace

TEST(Seam, IsTheCheapestOfAllPaths)
{
    Random random(21);
    for (int32_t i = 0; i < 200; ++i) {
        const int32_t width = 2 + random.below(6), height = 1 + random.below(6);
        TestImg a(kPanoGray, 12, 10, 1), b(kPanoGray, 12, 10, 3);
        for (const TestImg* img : {&a, &b})
            fill_luma(img->img, [&](int32_t, int32_t) { return random.below(4); });  // few values: many ties
        const int32_t x = random.below(12 - width), y = random.below(10 - height);
        std::vector<uint8_t> mask;
        std::vector<int32_t> cost;
        for (int32_t r = 0; r < height; ++r) {
            for (int32_t c = 0; c < width; ++c) {
                mask.push_back(random.below(5) == 0 ? 255 : static_cast<uint8_t>(random.below(2)));
                cost.push_back(std::abs(a.at(x + c, y + r) - b.at(1 + c, r)) | mask.back());
            }
        }
        Columns seam(static_cast<size_t>(height), -1);
        const SeamRegion in_a = {&a.img, x, y, width, height}, in_b = {&b.img, 1, 0, width, height};
        ASSERT_EQ(panorama_seam_find(seam.data(), mask.data(), &in_a, &in_b), 0);
        ASSERT_EQ(seam, best_path(cost, width, height)) << width << "x" << height;
    }
}

// Free paths through pictures that differ as much as bytes can: beside one that keeps running slantwise, the sums of
// neighbours lie ever further apart.
TEST(Seam, FollowsSlantedPathsThroughTheLargestDifferences)
{
    constexpr int32_t kWidth = 230, kHeight = 700;
    const struct {
        const char* what;
        int32_t (*column)(int32_t row);  // where a pixel costs nothing
    } cases[] = {
        {"to the right", [](int32_t row) { return std::min(row, 220); }},
        {"to the left", [](int32_t row) { return 200 - row; }},
        {"to and fro", [](int32_t row) { return row % 400 < 200 ? row % 400 : 400 - row % 400; }},
        {"with a pause, out of the picture", [](int32_t row) { return row < 100 ? 100 : row; }},
        {"just below the limit", [](int32_t row) { return row % 120; }},
    };
    Random random(22);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TestImg a(kPanoGray, kWidth, kHeight), b(kPanoGray, kWidth, kHeight);
        std::vector<uint8_t> mask(size_t{kWidth} * kHeight);
        std::vector<int32_t> cost(mask.size());
        for (int32_t i = 0; i < kWidth * kHeight; ++i) {
            const int32_t row = i / kWidth;
            const int32_t value = i % kWidth == c.column(row) ? 0 : 255 - random.below(row < 350 ? 1 : 64);
            a.img.data[i] = static_cast<uint8_t>(value);
            b.img.data[i] = 0;
            cost[static_cast<size_t>(i)] = value;
        }
        Columns seam(size_t{kHeight}, -1);
        const SeamRegion in_a = {&a.img, 0, 0, kWidth, kHeight}, in_b = {&b.img, 0, 0, kWidth, kHeight};
        ASSERT_EQ(panorama_seam_find(seam.data(), mask.data(), &in_a, &in_b), 0);
        EXPECT_EQ(seam, traced_path(cost, kWidth, kHeight));
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
        {{&no_pixels, 0, 0, 8, 8}, good, kPanoBadArgument},
    };
    for (const auto& c : cases)
        EXPECT_EQ(panorama_seam_find(seam, mask, &c.a, &c.b), c.want);
    EXPECT_EQ(panorama_seam_find(seam, nullptr, &good, &good), kPanoNullArgument);
    EXPECT_EQ(panorama_seam_find(nullptr, mask, &good, &good), kPanoNullArgument);
}
