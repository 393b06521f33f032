// Integer trigonometry, square root, rectangles and points: hand-made values, and the
// odd results callers rely on.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "base/wrap32.h"
#include "ozr_geometry.h"
#include "support/points.h"
#include "support/random.h"
#include "support/trig_tables.h"

namespace
{

TEST(Trigonometry, FollowsTheCircleAtAnyAngle)
{
    for (int32_t degree = -1000; degree <= 1000; ++degree) {
        const double radians = degree * 3.14159265358979323846 / 180;
        ASSERT_NEAR(ozr_math_cosi16_d(degree), 65536 * cos(radians), 1.01) << degree;
        ASSERT_NEAR(ozr_math_sini16_d(degree), 65536 * sin(radians), 1.01) << degree;
        ASSERT_EQ(ozr_math_cos_tiny(degree), ozr_math_cosi16_d(degree));
        ASSERT_EQ(ozr_math_sin_tiny(degree), ozr_math_sini16_d(degree));
        ASSERT_EQ(ozr_math_cosi16_d(-degree), ozr_math_cosi16_d(degree));
    }
    // -2^31 = -5965232 * 360 - 128.
    EXPECT_EQ(ozr_math_cosi16_d(INT32_MIN), ozr_math_cosi16_d(-128));
    EXPECT_EQ(ozr_math_cos(1.25), cos(1.25));
    EXPECT_EQ(ozr_math_sin(1.25), sin(1.25));
}

TEST(Arctan, GivesDegreesFromTheYAxis)
{
    const struct {
        int32_t x, y, degrees;
    } rows[] = {
        {1, 0, 90},        {-1, 0, -90},         {0, 0, 90},    {0, 5, 0},     {0, -5, 180},
        {5, -5, 135},      {-5, -5, -135},       {-5, 5, -45},  {100, 1, 90},  {-100, 1, -90},
        {401, 7, 89},      {58, 1, 90},          {36, 1024, 2}, {37, 1024, 3}, {1023, 1024, 44},
        {INT32_MIN, 1, 0}, {-1774, -1024, -120},
        // Tangents of 36 and 37 are between 2 degrees (36) and 3 (54); the search for 37
        // goes 45, 22, 10, 4, 1, 2, 3.
    };
    for (const auto& row : rows)
        EXPECT_EQ(ozr_math_arctan(row.x, row.y), row.degrees) << row.x << ',' << row.y;
    for (int32_t degree = -179; degree <= 180; ++degree) {
        const int32_t found = ozr_math_arctan(ozr_math_sini16_d(degree), ozr_math_cosi16_d(degree));
        EXPECT_LE(abs(ozr_math_normalize_angle(found - degree)), 1) << degree;
    }
}

TEST(Sqrt, NewtonFromOne)
{
    const struct {
        uint32_t n, root;
    } rows[] = {{0, 1},         {1, 1}, {2, 1}, {3, 2}, {4, 2}, {8, 3}, {100, 10}, {4000000000, 63246},
                {UINT32_MAX, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(ozr_math_sqrt(row.n), row.root) << row.n;
    for (uint32_t n = 3; n < 70000; ++n)
        ASSERT_NEAR(ozr_math_sqrt(n), sqrt(n), 1.0) << n;
}

TEST(NormalizeAngle, UsesSixteenBits)
{
    const struct {
        int32_t degrees, normal;
    } rows[] = {{540, 180},  {-180, 180}, {-179, -179}, {180, 180},
                {181, -179}, {720, 0},    {65543, 7},   {32768, -8}};
    for (const auto& row : rows)
        EXPECT_EQ(ozr_math_normalize_angle(row.degrees), row.normal) << row.degrees;
}

// Apart, touching, or one in the other. The area of what two have in common
// is signed, in each direction.
TEST(Rect, CombinesTwo)
{
    Random random(1);
    const auto any = [&random] {
        const int32_t left = random.below(9) - 4, top = random.below(9) - 4;
        return ozr_rect{left, top, left + 1 + random.below(6), top + 1 + random.below(6)};
    };
    for (int32_t trial = 0; trial < 2000; ++trial) {
        const ozr_rect a = any(), b = any();
        const ozr_rect common = {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                                 std::min(a.bottom, b.bottom)},
                       around = {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
                                 std::max(a.bottom, b.bottom)};
        const int32_t width = common.right - common.left, height = common.bottom - common.top;
        EXPECT_EQ(ozr_rect_is_intersecting(&a, &b), width > 0 && height > 0);
        EXPECT_EQ(ozr_rect_get_intersecting_area(&a, &b), width * height);
        ozr_rect out = a;
        EXPECT_EQ(ozr_rect_get_intersecting_rect(&out, &b, &out), ozr_success);
        EXPECT_EQ(out, common);
        out = b;
        EXPECT_EQ(ozr_rect_get_bounding_rect(&a, &out, &out), ozr_success);
        EXPECT_EQ(out, around);
    }
}

TEST(Rect, MovesClipsScales)
{
    const ozr_rect bounds = {0, 0, 10, 10};
    const ozr_rect clipped[][2] = {{{-2, 3, 5, 20}, {0, 3, 5, 10}},
                                   {{20, 3, 25, 5}, {0, 0, 0, 0}},
                                   {{3, -9, 5, -2}, {0, 0, 0, 0}},
                                   {{10, 3, 25, 5}, {10, 3, 10, 5}}};  // no width: kept
    for (const auto& [from, to] : clipped) {
        ozr_rect r = from;
        EXPECT_EQ(ozr_rect_clip(&r, &bounds), ozr_success);
        EXPECT_EQ(r, to);
    }
    ozr_rect r = {1, 2, 3, 5};
    EXPECT_EQ(ozr_rect_get_area(&r), 6);
    EXPECT_EQ(ozr_rect_move(&r, 10, -20), ozr_success);
    EXPECT_EQ(r, (ozr_rect{11, -18, 13, -15}));
    r = {3, 5, 7, 2000000000};
    ozr_rect_scale(&r, &r, 3, 2);
    EXPECT_EQ(r, (ozr_rect{4, 7, 10, 852516352}));  // (6000000000 mod 2^32) / 2
    ozr_rect_scale(&r, &r, 1, 0);
    EXPECT_EQ(r.left, 4);
    const ozr_rect wide = {INT32_MIN, 0, INT32_MAX, INT32_MAX};
    EXPECT_EQ(ozr_rect_get_area(&wide), -INT32_MAX);  // -1 * (2^31 - 1)
}

TEST(Point, TurnsAboutACentre)
{
    const ozr_point centre = {10, 20};
    const struct {
        ozr_point p;
        int32_t degrees;
        ozr_point want;
    } rows[] = {
        {{13, 20}, 0, {13, 20}},   {{13, 20}, 90, {10, 17}}, {{13, 20}, 180, {7, 20}},
        {{13, 20}, -90, {10, 23}}, {{20, 20}, 60, {14, 12}},  // 4.9998: 4; upwards 8.66: 8
        {{0, 20}, 60, {5, 29}},                               // -4.9998: -5; -8.66: -9
    };
    for (const auto& row : rows) {
        ozr_point out = row.p;
        ozr_point_rotate(&out, &out, &centre, row.degrees);
        EXPECT_EQ(out, row.want) << row.degrees;
    }
    ozr_rect r = {10, 30, 20, 34};  // becomes a square of its width
    ozr_rect_rotate(&r, &r, &centre, 0);
    EXPECT_EQ(r, (ozr_rect{10, 27, 20, 37}));
    ozr_rect_rotate(&r, &r, &centre, 90);  // its centre lay 5 to the right and 12 below
    EXPECT_EQ(r, (ozr_rect{17, 10, 27, 20}));
}

TEST(Point, InsideAndDistance)
{
    const ozr_rect r = {1, 2, 3, 4};
    const ozr_point points[] = {{1, 2}, {2, 3}, {3, 3}, {2, 4}, {0, 3}, {2, 1}};
    for (size_t i = 0; i < 6; ++i)
        EXPECT_EQ(ozr_point_inside_rect(&points[i], &r), i < 2) << i;
    EXPECT_EQ(ozr_point_dist(&points[0], &points[0]), 1);
    const ozr_point far_away = {5, 6};
    EXPECT_EQ(ozr_point_dist(&points[5], &far_away), 6);  // of 34
}

TEST(Geometry, RefusesNullPointers)
{
    ozr_rect r = {1, 2, 3, 4};
    ozr_point p = {5, 6};
    for (int missing = 0; missing < 4; ++missing) {
        ozr_rect* rect[] = {&r, &r, &r, &r};
        ozr_point* point[] = {&p, &p, &p, &p};
        rect[missing] = nullptr;
        point[missing] = nullptr;
        ozr_warp_strength_by_2points_i(point[0], point[1], point[2], point[3], 0);
        if (missing == 3)
            continue;
        EXPECT_EQ(ozr_rect_get_intersecting_rect(rect[0], rect[1], rect[2]), ozr_err_invalid_argument);
        EXPECT_EQ(ozr_rect_get_bounding_rect(rect[0], rect[1], rect[2]), ozr_err_invalid_argument);
        ozr_point_rotate(point[0], point[1], point[2], 90);
        ozr_rect_rotate(rect[0], rect[1], point[2], 90);
        if (missing == 2)
            continue;
        EXPECT_EQ(ozr_rect_is_intersecting(rect[0], rect[1]), 0);
        EXPECT_EQ(ozr_point_inside_rect(point[0], rect[1]), 0);
        EXPECT_EQ(ozr_rect_get_intersecting_area(rect[0], rect[1]), ozr_err_invalid_argument);
        EXPECT_EQ(ozr_rect_clip(rect[0], rect[1]), ozr_err_invalid_argument);
        EXPECT_EQ(ozr_point_dist(point[0], point[1]), ozr_err_invalid_argument);
        ozr_rect_scale(rect[0], rect[1], 2, 1);
        ozr_warp_rotation_degree(point[0], point[1], 90);
    }
    EXPECT_EQ(ozr_rect_get_area(nullptr), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_rect_move(nullptr, 1, 1), ozr_err_invalid_argument);
    EXPECT_EQ(r, (ozr_rect{1, 2, 3, 4}));
    EXPECT_EQ(p, (ozr_point{5, 6}));
}

TEST(WarpPoint, MapsDestinationToSource)
{
    // Twice the size and a quarter turn: the source's (0, 0)-(10, 0) lands on
    // (100, 100)-(100, 120).
    const struct {
        ozr_point destination, source;
    } rows[] = {
        {{100, 100}, {0, 0}}, {{100, 120}, {10, 0}}, {{80, 110}, {5, 10}}, {{98, 104}, {2, 1}},
        {{99, 103}, {2, 1}},  {{102, 95}, {-2, 0}},  // -2.5 and -1: half is added, then truncated
    };
    int32_t a = 77, b = 78;
    for (const auto& [at, want] : rows) {
        EXPECT_EQ(ozr_warp_point_by_2points(at.x, at.y, 0, 0, 10, 0, &a, &b, 100, 100, 100, 120),
                  ozr_success);
        EXPECT_EQ((ozr_point{a, b}), want);
    }
    EXPECT_EQ(ozr_warp_point_by_2points(1, 2, 0, 0, 1, 1, &a, nullptr, 0, 0, 5, 5), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_warp_point_by_2points(1, 2, 0, 0, 1, 1, nullptr, &b, 0, 0, 5, 5), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_warp_point_by_2points(1, 2, 0, 0, 1, 1, &a, &b, 5, 5, 5, 5), ozr_err_invalid_argument);
    EXPECT_EQ((ozr_point{a, b}), (ozr_point{-2, 0}));
    // Wherever the points are: all products wrap around, and sanitised builds
    // see those that do not.
    using ozr::Wrap32;
    const int32_t wild[] = {INT32_MIN, INT32_MIN + 1, -1, 0, 1, 7, INT32_MAX};
    for (int32_t m : wild) {
        for (int32_t n : wild) {
            const Wrap32 w = Wrap32(m) - n, h = Wrap32(7) - n, scale = w * w + h * h;
            const Wrap32 middle = (Wrap32(n) + m + 1) >> 1, low = (Wrap32(m) + m + 1) >> 1;
            const Wrap32 dx = Wrap32(m) - middle, dy = Wrap32(n) - ((Wrap32(n) + 7 + 1) >> 1);
            const ozr_err want = scale == 0 ? ozr_err_invalid_argument : ozr_success;
            ASSERT_EQ(ozr_warp_point_by_2points(m, n, n, m, m, m, &a, &b, n, n, m, 7), want) << m << ',' << n;
            if (want != ozr_success)
                continue;
            EXPECT_EQ(a, ((middle * scale + w * w * dx + w * h * dy + scale / 2) / scale).value)
                << m << ',' << n;
            EXPECT_EQ(b, ((low * scale - w * h * dx + w * w * dy + scale / 2) / scale).value)
                << m << ',' << n;
        }
    }
    EXPECT_EQ((Wrap32(INT32_MIN) / -1).value, INT32_MIN);  // a trap in plain arithmetic
}

TEST(WarpStrength, MovesPointsAlongTheirLine)
{
    const struct {
        int32_t strength;
        ozr_point first, second;
    } rows[] = {{1024, {0, 10}, {40, 30}},
                {0, {-20, 0}, {60, 40}},
                {2048, {20, 20}, {20, 20}},
                {1023, {0, 10}, {40, 30}},   // half of 1 is 0
                {1000, {-1, 9}, {41, 31}}};  // 12 / 1024 of -40 and -20 round down
    for (const auto& row : rows) {
        ozr_point a = {0, 10}, b = {40, 30};
        ozr_warp_strength_by_2points_i(&a, &b, &a, &b, row.strength);
        EXPECT_EQ(a, row.first) << row.strength;
        EXPECT_EQ(b, row.second) << row.strength;
    }
}

TEST(WarpRotation, TurnsAboutTheOrigin)
{
    const struct {
        int32_t degrees;
        ozr_point want;
    } rows[] = {
        // The last one is (1.54, 10.66).
        {0, {10, 4}}, {90, {-4, 10}}, {180, {-10, -4}}, {270, {4, -10}}, {60, {1, 10}},
    };
    for (const auto& row : rows) {
        ozr_point p = {10, 4};
        ozr_warp_rotation_degree(&p, &p, row.degrees);
        EXPECT_EQ(p, row.want) << row.degrees;
    }
}

}  // namespace
