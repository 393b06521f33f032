// Correlations of shifted pictures against the sums that they stand for.
#include "refined/shift_sums.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/random.h"

using namespace ozr;
using namespace ozr::refined;

namespace
{

// Random contrast in random columns of each row, zeros beside them.
Unrolled _unrolled(Random* random)
{
    Unrolled image = {1 + random->below(40), 1 + random->below(12), 0, nullptr, nullptr};
    image.stride = image.width + kUnrolledMargin;
    image.contrast = make_buffer<int16_t>(int64_t{image.stride} * image.height + kUnrolledMargin);
    image.shown = make_buffer<Interval>(image.height);
    for (int32_t y = 0; y < image.height; ++y) {
        const int32_t first = random->below(image.width + 1);
        const Interval shown = {first, first + random->below(image.width - first + 1)};
        image.shown.get()[y] = shown;
        for (int32_t x = shown.first; x < shown.end; ++x)
            image.contrast.get()[kUnrolledMargin + y * image.stride + x] =
                static_cast<int16_t>(random->below(2 * kMaxContrast + 1) - kMaxContrast);
    }
    return image;
}

struct Plain {
    double aa = 0, bb = 0, ab = 0;
    int64_t shared = 0;

    Plain(const Unrolled& a, const Unrolled& b, int32_t shift, int32_t down)
    {
        const auto shows = [](const Unrolled& image, int32_t x, int32_t y) {
            return x >= image.shown.get()[y].first && x < image.shown.get()[y].end;
        };
        for (int32_t y = std::max(0, -down); y < b.height && y + down < a.height; ++y) {
            for (int32_t x = 0; x < b.width; ++x) {
                if (!shows(b, x, y) || !shows(a, x + shift, y + down))
                    continue;
                const double of_a = a.row(y + down)[x + shift], of_b = b.row(y)[x];
                aa += of_a * of_a;
                bb += of_b * of_b;
                ab += of_a * of_b;
                ++shared;
            }
        }
    }

    double correlation() const { return aa == 0 || bb == 0 ? 0 : ab / std::sqrt(aa * bb); }
};

}  // namespace

TEST(ShiftSums, AreCorrelationsOfWhatBothShow)
{
    Random random(77);
    for (int32_t trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        const Unrolled a = _unrolled(&random), b = _unrolled(&random);
        const int32_t first = random.below(60) - 40;
        const Interval all = {first, first + 1 + random.below(50)};
        ShiftSums sums;
        ASSERT_EQ(sums.init(a, b, all), kPanoSuccess);
        for (int32_t down = -b.height; down <= a.height; ++down) {
            const int32_t begin = all.first + random.below(all.length());
            const Interval some = {begin, begin + 1 + random.below(all.end - begin)};
            sums.measure(some, down);
            for (int32_t shift = some.first; shift < some.end; ++shift) {
                const Plain plain(a, b, shift, down);
                EXPECT_NEAR(sums.correlation(shift), plain.correlation(), 1e-12) << shift << " " << down;
                EXPECT_EQ(count_shared(a, b, shift, down), plain.shared) << shift << " " << down;
            }
        }
    }
}
