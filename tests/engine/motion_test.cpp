// Motion estimation between small grey frames.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "engine/panorama_me.h"
#include "support/pictures.h"

namespace
{

using Frame = std::vector<uint8_t>;

// A smooth texture, shifted by (dx, dy): content at (x, y) moves to (x + dx, y + dy).
Frame texture(int32_t width, int32_t height, int32_t dx, int32_t dy)
{
    Frame frame;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const int32_t u = std::abs((x - dx + 1000) % 90 - 45), v = std::abs((y - dy + 1000) % 70 - 35);
            frame.push_back(static_cast<uint8_t>(u * 3 + v * 3));
        }
    }
    return frame;
}

ozr_point estimate(const Frame& reference, const Frame& current, int32_t width, int32_t height)
{
    ozr_point shift = {99, 99};
    MotionEstimate(reference.data(), current.data(), width, height, &shift.x, &shift.y);
    return shift;
}

// The same search written out: full sums over the region with clamped reads.
ozr_point slow_estimate(const Frame& ref, const Frame& cur, int32_t w, int32_t h)
{
    const auto clamp = [](int32_t v, int32_t size) { return v < 0 ? 0 : v >= size ? size - 1 : v; };
    const auto cost = [&](int32_t dx, int32_t dy) {
        int32_t sum = 0;
        const int32_t rx = (w * 230) >> 9, ry = (h * 230) >> 9;
        for (int32_t x = std::max(w / 2 - rx, 0); x <= std::min(w / 2 + rx, w - 1); ++x) {
            for (int32_t y = std::max(h / 2 - ry, 0); y <= std::min(h / 2 + ry, h - 1); ++y)
                sum += std::abs(ref[static_cast<size_t>(y * w + x)] -
                                cur[static_cast<size_t>(clamp(y + dy, h) * w + clamp(x + dx, w))]);
        }
        return sum;
    };
    const auto search = [&](bool horizontal) {
        const auto at = [&](int32_t d) { return horizontal ? cost(d, 0) : cost(0, d); };
        const int32_t still = at(0), minus = at(-1), plus = at(1);
        const bool backward = minus < still && minus < plus, forward = plus < still && plus <= minus;
        const int32_t sign = forward - backward;
        int32_t found = sign, best = sign < 0 ? minus : plus;
        for (int32_t i = 0; sign != 0 && i < 10; ++i) {
            const int32_t next = at(found + 2 * sign);
            if (next >= best)
                break;
            best = next;
            found += 2 * sign;
        }
        return found;
    };
    return {search(true), search(false)};
}

}  // namespace

TEST(MotionEstimate, FindsOddShiftsWithinItsReach)
{
    const Frame still = texture(320, 240, 0, 0);
    for (int32_t shift : {-25, -21, -7, -1, 0, 1, 5, 9, 21, 30}) {
        const int32_t want = std::max(-21, std::min(shift, 21));
        EXPECT_EQ(estimate(still, texture(320, 240, shift, 0), 320, 240).x, want);
        EXPECT_EQ(estimate(still, texture(320, 240, 0, shift), 320, 240).y, want);
    }
}

TEST(MotionEstimate, AgreesWithTheWrittenOutSearch)
{
    Random random(11);
    for (int32_t i = 0; i < 60; ++i) {
        const int32_t w = 1 + random.below(60), h = 1 + random.below(60);
        Frame ref = texture(w, h, 0, 0), cur = texture(w, h, random.below(40) - 20, random.below(40) - 20);
        for (uint8_t& pixel : cur)
            pixel = static_cast<uint8_t>(pixel + random.below(8));
        const ozr_point got = estimate(ref, cur, w, h), want = slow_estimate(ref, cur, w, h);
        EXPECT_TRUE(got.x == want.x && got.y == want.y) << w << "x" << h;
    }
}

TEST(MotionEstimate, TiesGoForwardAndEmptyFramesStand)
{
    // Symmetric about the middle column: left and right are equally better than staying.
    Frame ref(21 * 5, 0), cur(21 * 5, 0);
    for (size_t y = 0; y < 5; ++y) {
        ref[y * 21 + 10] = 200;
        cur[y * 21 + 9] = cur[y * 21 + 11] = 200;
    }
    EXPECT_EQ(estimate(ref, cur, 21, 5).x, 1);
    for (const ozr_point& size : {ozr_point{0, 5}, ozr_point{5, 0}, ozr_point{-4, 5}, ozr_point{1, 1}}) {
        const ozr_point shift = estimate(ref, cur, size.x, size.y);
        EXPECT_TRUE(shift.x == 0 && shift.y == 0);
    }
    MotionEstimate(nullptr, cur.data(), 5, 5, nullptr, nullptr);
}
