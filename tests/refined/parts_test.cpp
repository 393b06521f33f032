// The parts of the refined quality, each against its plain meaning.
#include <gtest/gtest.h>

#include <memory>

#include "refined/adjust.h"
#include "refined/crop.h"
#include "refined/patch_fit.h"
#include "refined/picture.h"
#include "refined/residual.h"
#include "refined/simulated_camera.h"
#include "refined/trace.h"
#include "refined/view.h"

using namespace ozr;
using namespace ozr::refined;

static std::vector<uint8_t> _bytes_of(const uint8_t* data, int64_t bytes)
{
    return {data, data + bytes};
}

TEST(Elementary, AgreesWithTheMathematicalLibrary)
{
    Random random(1);
    for (int32_t i = 0; i < 20000; ++i) {
        const double a = (random.below(2000001) - 1000000) * 2e-5,
                     b = (random.below(2000001) - 1000000) * 1e-6;
        EXPECT_NEAR(sine(a), std::sin(a), 4e-15) << a;
        EXPECT_NEAR(cosine(a), std::cos(a), 4e-15) << a;
        EXPECT_NEAR(arctangent(a, b), std::atan2(a, b), 2e-15) << a << " " << b;
        EXPECT_NEAR(exponential(a) / std::exp(a), 1, 2e-12) << a;
        EXPECT_NEAR(logarithm(std::exp(a)), a, 2e-15 * (1 + std::abs(a))) << a;
        EXPECT_EQ(nearest(a), std::floor(a + 0.5)) << a;
    }
    EXPECT_EQ(arctangent(0, 0), 0);
    EXPECT_NEAR(arctangent(0, -1), kPi, 1e-15);
}

// A place in a picture, along its ray, and back.
TEST(View, PlacesAndRaysAreInverse)
{
    Random random(2);
    for (double radial : {0.0, 0.1, -0.1}) {
        Camera camera = camera_of_pose({40, -10, 5}, 1100, radial);
        camera.skew = {0.004, -0.006};
        View view(camera, 1280, 960);
        view.set_gain(1.5, {0.2, 0.1});
        for (int32_t i = 0; i < 2000; ++i) {
            const double x = random.below(1280), y = random.below(960);
            double heading, height;
            ASSERT_TRUE(view.ray(x, y, &heading, &height));
            int16_t gain;
            const NodePlace place = view.place({sine(heading), cosine(heading)}, height, &gain);
            EXPECT_NEAR(place.x / 16384.0, x, 2e-3);
            EXPECT_NEAR(place.y / 16384.0, y, 2e-3);
            const double p =
                ((x - 639.5) * (x - 639.5) + (y - 479.5) * (y - 479.5)) / (639.5 * 639.5 + 479.5 * 479.5);
            EXPECT_NEAR(view.spread(place), p, 1e-5);
            // Light is lost in the lens, before the shutter skews the picture.
            const Place lens = unskewed_place({x - 639.5, y - 479.5}, camera.skew);
            const double q = (lens.x * lens.x + lens.y * lens.y) / (639.5 * 639.5 + 479.5 * 479.5);
            EXPECT_NEAR(gain / 8192.0, 1.5 * std::exp(0.2 * q + 0.1 * q * q), 1e-3);
        }
        int16_t gain;
        EXPECT_LT(view.place({sine(kPi + 0.7), cosine(kPi + 0.7)}, 0, &gain).x, 0);  // behind
    }
}

// Against differences of the distance itself.
TEST(Residual, SlopesAreItsDerivatives)
{
    Random random(4);
    for (double radial : {0.0, 0.1, -0.1}) {
        const LinkView view = {
            rotation_of_pose({10, 3, 2}), rotation_of_pose({28, -4, -3}), 1100, 1150, radial, {}, {}};
        for (int32_t i = 0; i < 100; ++i) {
            const Match match = {{random.below(800) - 400.0, random.below(600) - 300.0}, {7, -9}};
            Residual at;
            ASSERT_TRUE(residual_of(view, match, kShutterToo, &at));
            const auto expect = [&](double slope_x, double slope_y, auto change) {
                constexpr double kStep = 1e-5;
                LinkView less = view, more = view;
                change(&less, -kStep);
                change(&more, kStep);
                Residual before, after;
                ASSERT_TRUE(residual_of(less, match, kLensOfPair, &before));
                ASSERT_TRUE(residual_of(more, match, kLensOfPair, &after));
                EXPECT_NEAR(slope_x, (after.x - before.x) / (2 * kStep), 0.01);
                EXPECT_NEAR(slope_y, (after.y - before.y) / (2 * kStep), 0.01);
            };
            const Slope &x = at.slope_x, &y = at.slope_y;
            using V = LinkView;
            for (size_t axis = 0; axis < 3; ++axis)
                expect(x.turn[axis], y.turn[axis], [axis](V* v, double by) {
                    const Vector about = {axis == 0 ? by : 0, axis == 1 ? by : 0, axis == 2 ? by : 0};
                    v->first = refined::rotation_about(about) * v->first;
                });
            expect(x.radial, y.radial, [](V* v, double by) { v->radial += by; });
            expect(x.first_zoom, y.first_zoom, [](V* v, double by) { v->first_focal *= 1 + by; });
            expect(x.second_zoom, y.second_zoom, [](V* v, double by) { v->second_focal *= 1 + by; });
            expect(x.first_skew[0], y.first_skew[0], [](V* v, double by) { v->first_skew.stretch = by; });
            expect(x.first_skew[1], y.first_skew[1], [](V* v, double by) { v->first_skew.shear = by; });
            expect(x.second_skew[0], y.second_skew[0], [](V* v, double by) { v->second_skew.stretch = by; });
            expect(x.second_skew[1], y.second_skew[1], [](V* v, double by) { v->second_skew.shear = by; });
        }
    }
}

// Matches of cameras whose pictures are skewed, each in its own way, from the same cameras without
// skews.
TEST(Adjust, FindsWhatAShutterDidToEachPicture)
{
    Lenses truth = {};
    truth.focal = 450;
    for (int32_t i = 0; i < 3; ++i)
        truth.rotations[i] = rotation_of_pose({14.0 * i, 1.0 * (i % 2), 0});
    Lenses found = truth;
    truth.skews[0] = {0.006, -0.005};
    truth.skews[1] = {-0.004, 0.007};
    truth.skews[2] = {0.005, 0.004};
    std::vector<Match> matches[2];
    std::vector<Link> links;
    for (int32_t i = 0; i < 2; ++i) {
        for (double x = -40; x <= 240; x += 20) {
            for (double y = -170; y <= 170; y += 20) {
                Place shown;
                ASSERT_TRUE(place_in_second(lens_pair(truth, i, i + 1), {x, y}, &shown));
                matches[i].push_back({{x, y}, shown});
            }
        }
        links.push_back({i, i + 1, {}, static_cast<int32_t>(matches[i].size()), matches[i].data()});
    }
    EXPECT_GT(agreement_of(links[0], found).residual, 1);
    ASSERT_EQ(adjust_lens({links.data(), 2, 3, truth.focal}, {nullptr}, &found), kPanoSuccess);
    for (const Link& link : links) {
        EXPECT_EQ(agreement_of(link, found).near, link.count);
        EXPECT_LT(agreement_of(link, found).residual, 0.02);
    }
}

// Three pictures, the third without a camera of its own.
TEST(Trace, ShowsMatchesWhereBothPicturesHaveCameras)
{
    Solution solution = {};
    solution.lenses.focal = 500;
    std::vector<Pair> pairs(3);
    for (int32_t i = 0; i < 3; ++i) {
        solution.lenses.rotations[i] = rotation_of_pose({5.0 * i, 0, 0});
        solution.used[i] = i < 2;
        Pair& pair = pairs[static_cast<size_t>(i)];
        pair.first = i / 2;  // 0 and 1, 0 and 2, 1 and 2
        pair.second = i == 0 ? 1 : 2;
        pair.match.matches.count = 1;
        pair.match.matches.at[0].first = {500 * std::tan(0.1), 0};
    }
    const auto trace = std::make_unique<Trace>();
    trace_matches({nullptr, 3, pairs.data(), 3}, solution, trace.get());
    EXPECT_TRUE(trace->shown[0][0].is_known);
    EXPECT_NEAR(trace->shown[0][0].x, 500 * std::tan(0.1 - 5 * kDegree), 1e-3);
    EXPECT_NEAR(trace->shown[0][0].y, 0, 1e-3);
    EXPECT_FALSE(trace->shown[1][0].is_known);
    EXPECT_FALSE(trace->shown[2][0].is_known);
}

// Two pictures of one place, of which the second grows darker to the left and to the top.
TEST(PatchFit, TakesLightThatIsKnownForNoShift)
{
    constexpr int32_t kSide = 40, kMiddle = kSide / 2;
    const PatchFade fade = {0.010, 0.006};
    uint8_t first[kSide * kSide], second[kSide * kSide];
    for (int32_t y = 0; y < kSide; ++y) {
        for (int32_t x = 0; x < kSide; ++x) {
            const double light = 120 + 12 * std::sin(0.4 * x + 0.1 * y) + 12 * std::sin(0.1 * x - 0.5 * y);
            const double grown = 1 + fade.right * (x - kMiddle) + fade.down * (y - kMiddle);
            first[y * kSide + x] = static_cast<uint8_t>(light + 0.5);
            second[y * kSide + x] = static_cast<uint8_t>(light * grown + 0.5);
        }
    }
    const ConstPlane before = {first, kSide, kSide, kSide}, after = {second, kSide, kSide, kSide};
    const auto shift = [&](const PatchFade& known) {
        PatchTask task = {&before, &after, kMiddle, kMiddle, kMiddle, kMiddle, {1, 0, 0, 1}};
        EXPECT_GT(fit_patch(&task, known, 2), 0.8);
        return std::hypot(task.second_x - kMiddle, task.second_y - kMiddle);
    };
    EXPECT_LT(shift(fade), 0.01);
    EXPECT_GT(shift({0, 0}), 0.1);
}

// Against every rectangle, on random coverage.
TEST(Crop, IsTheLargestCoveredRectangle)
{
    Random random(3);
    for (int32_t round = 0; round < 300; ++round) {
        const int32_t columns = 8 * (1 + random.below(3)), rows = 2 * (2 + random.below(8)),
                      holes = random.below(12);
        Layers layers = {};
        layers.count = 1;
        layers.frame = {100, 2, 0, 0, columns, rows};
        Layer& layer = layers.at[0];
        layer.columns = columns;
        layer.shown = make_unfilled_buffer<uint8_t>(int64_t{columns} * rows);
        std::fill_n(layer.shown.get(), columns * rows, uint8_t{255});
        for (int32_t i = 0; i < holes; ++i)
            layer.shown.get()[random.below(columns * rows)] = 0;
        int32_t best = 0;
        for (int32_t top = 0; top < rows; ++top) {
            for (int32_t left = 0; left < columns; ++left) {
                for (int32_t right = left + 1; right < columns; ++right) {
                    for (int32_t bottom = top; bottom < rows; ++bottom) {
                        bool covered = true;
                        for (int32_t x = left; x <= right; ++x)
                            covered = covered && layer.shows(x, bottom);
                        if (!covered)
                            break;
                        best = std::max(best, (right - left) * (bottom - top));
                    }
                }
            }
        }
        Seams seams = {nullptr, rows, 1};
        Crop crop;
        const PanoResult result = find_crop({nullptr}, layers, seams, &crop);
        if (result == kPanoSuccess) {
            for (int32_t y = crop.top; y <= crop.bottom; ++y) {
                for (int32_t x = crop.left; x <= crop.right; ++x)
                    ASSERT_TRUE(layer.shows(x, y)) << "round " << round;
            }
        }
        // Even starts may cost a column and a row.
        const int32_t width = crop.right - crop.left, height = crop.bottom - crop.top;
        EXPECT_TRUE(result == kPanoNotSupported
                        ? best <= 2 * std::max(columns, rows)
                        : (width + 1) * (height + 1) >= best && width * height <= best)
            << "round " << round << " best " << best << " found " << width << " x " << height;
    }
}

// Elements of `channels` interleaved bytes.
struct Interleaved {
    std::vector<uint8_t> bytes;
    int32_t stride, width, height, channels;
};

// The mean of 2 x 2 elements, plus `rounding` quarters.
Interleaved halved(const Interleaved& from, int32_t rounding)
{
    const int32_t channels = from.channels;
    Interleaved half = {{}, from.width / 2 * channels, from.width / 2, from.height / 2, channels};
    for (int32_t y = 0; y < half.height; ++y) {
        for (int32_t x = 0; x < half.stride; ++x) {
            const auto at = [&](int32_t i, int32_t j) {
                const int32_t element = x / channels * 2 + i;
                return from.bytes[static_cast<size_t>((2 * y + j) * from.stride + element * channels +
                                                      x % channels)];
            };
            const int32_t sum = at(0, 0) + at(1, 0) + at(0, 1) + at(1, 1);
            half.bytes.push_back(static_cast<uint8_t>((sum + rounding) / 4));
        }
    }
    return half;
}

// Turned or not, of odd sizes: the picture's own rows are kept, and
// everything coarser is made of them.
TEST(Pyramid, HalvesLumaAndChroma)
{
    for (const auto& [width, height, small] :
         {std::tuple{71, 55, 2}, {66, 40, 2}, {2101, 35, 2}, {2200, 130, 3}}) {
        for (const bool turn : {false, true}) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << (turn ? ", turned" : ""));
            TestImg picture(kPanoNv12, width, height, 5);
            picture.randomize(4);
            PanoImgOwner kept;
            Pyramid pyramid;
            ASSERT_EQ(keep_picture(&picture.img, turn, {nullptr}, kept.get(), &pyramid), kPanoSuccess);
            const int32_t w = kept->width, h = kept->height;
            ASSERT_EQ(w, (turn ? height : width) & ~1);
            for (int32_t i = 0; i < w * h; ++i) {
                const int32_t x = turn ? i / w : i % w, y = turn ? (height & ~1) - 1 - i % w : i / w;
                ASSERT_EQ(*(pano_row(kept.get(), i / w) + i % w), *(pano_row(&picture.img, y) + x));
            }
            const int32_t stride = kept->stride;
            Interleaved level = {_bytes_of(kept->data, int64_t{stride} * h), stride, w, h, 1};
            for (int32_t l = 1; l < pyramid.count; ++l) {
                level = halved(level, 0);
                const ConstPlane& view = pyramid.levels[l];
                ASSERT_EQ(level.bytes, _bytes_of(view.data, int64_t{view.width} * view.height)) << l;
            }
            ASSERT_EQ(pyramid.small, small);
            Interleaved pairs = {_bytes_of(pano_chroma_row(kept.get(), 0), int64_t{stride} * h / 2), stride,
                                 w / 2, h / 2, 2};
            for (int32_t l = 1; l <= small; ++l)
                pairs = halved(pairs, 2);
            const ConstPlane& chroma = pyramid.small_pairs;
            EXPECT_EQ(pairs.bytes, _bytes_of(chroma.data, 2 * int64_t{chroma.width} * chroma.height));
        }
    }
}
