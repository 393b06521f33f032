// The simulated camera against its plain meaning: every pixel shows what its ray meets. The scene that it usually sees is
// compared with the pictures of the documentation, by the tests of the program.
#include "media/image_owner.h"
#include "scene/camera.h"

#include <gtest/gtest.h>

#include <math.h>

using namespace ozr_pano;

namespace
{

constexpr double kPi = 3.14159265358979323846;

/** Colours that change slowly from unit to unit, with another period for each channel. */
Rgb _smooth_colour(double x, double y)
{
    const auto wave = [](double at, double period) {
        return static_cast<int32_t>(50 * sin(at * 2 * kPi / period));
    };
    return {static_cast<uint8_t>(128 + wave(x, 61) + wave(y, 47)),
            static_cast<uint8_t>(128 + wave(x, 53) - wave(y, 71)),
            static_cast<uint8_t>(128 - wave(x, 83) + wave(y, 59))};
}

double _luma(Rgb c)
{
    return 16 + (65.738 * c.r + 129.057 * c.g + 25.064 * c.b) / 256;
}

double _chroma(Rgb c, int channel)
{
    return 128 + (channel == 0 ? -37.945 * c.r - 74.494 * c.g + 112.439 * c.b
                               : 112.439 * c.r - 94.154 * c.g - 18.285 * c.b) /
                     256;
}

/** The units of the scene that a pixel sees: the ray through it, turned by roll, tilt and pan, meets the cylinder. */
void _see(const Lens& lens, const Pose& pose, double x, double y, double* along, double* rise)
{
    const double right = x - (lens.width - 1) / 2.0, down = y - (lens.height - 1) / 2.0;
    const double a = lens.vertical ? down : right, b = lens.vertical ? right : down;
    const double u = a * cos(pose.roll) - b * sin(pose.roll), v = a * sin(pose.roll) + b * cos(pose.roll);
    const double depth = lens.focal * cos(pose.across) - v * sin(pose.across);
    const double height = v * cos(pose.across) + lens.focal * sin(pose.across);
    *along = pose.along + atan2(u, depth);
    *rise = height / hypot(u, depth);
}

TEST(Camera, SeesWhatEachRayMeets)
{
    constexpr double kUnits = 300;  // to a radian
    const struct {
        Lens lens;
        Pose pose;
        double scale;  // pixels of the canvas to a unit
    } views[] = {
        {{160, 120, 172, false}, {0.9, 0, 0}, 0.6},       {{160, 120, 172, false}, {1.1, 0.06, -0.04}, 0.6},
        {{120, 162, 175, true}, {0.9, -0.05, 0.05}, 0.6}, {{118, 98, 210, true}, {0.7, 0.02, 0.3}, 1},
        {{160, 120, 160, false}, {1.0, 0.01, 0.02}, 2},   {{320, 200, 300, false}, {0.1, 0.3, 0}, 1},
        {{320, 200, 300, false}, {1.9, -0.3, 0}, 1},
    };
    for (const auto& view : views) {
        const Lens& lens = view.lens;
        // Where a scene ends within a cell of interpolation, its edge is not sharp.
        const bool shows_edge = fabs(view.pose.along - 1) > 0.5;
        const double tolerance = shows_edge ? 25 : 5;
        SCOPED_TRACE(view.pose.along);
        const Box bounds = lens.vertical ? Box{-130, 0, 150, 600} : Box{0, -130, 600, 150};
        Canvas canvas(bounds, view.scale);
        canvas.shade(bounds, [](double x, double y, Rgb) { return _smooth_colour(x, y); });
        const Surroundings surroundings(canvas, kUnits * view.scale, lens.vertical);
        ImageOwner owner(lens.width, lens.height);
        surroundings.photograph(lens, view.pose, owner.get());
        const auto seen = [&](double x, double y) {
            double along, rise;
            _see(lens, view.pose, x, y, &along, &rise);
            along *= kUnits, rise *= kUnits;
            const double margin = 2.5 / view.scale;
            const double h = std::clamp(lens.vertical ? rise : along, bounds.left, bounds.right - margin);
            const double v = std::clamp(lens.vertical ? along : rise, bounds.top, bounds.bottom - margin);
            return _smooth_colour(h, v);
        };
        for (int32_t y = 0; y < lens.height; ++y) {
            const uint8_t* luma = owner.get()->data + y * owner.get()->stride;
            const uint8_t* chroma = owner.get()->data + (lens.height + y / 2) * owner.get()->stride;
            for (int32_t x = 0; x < lens.width; ++x) {
                ASSERT_NEAR(luma[x], _luma(seen(x, y)), tolerance) << x << " " << y;
                ASSERT_NEAR(chroma[x], _chroma(seen(x / 2 * 2 + 0.5, y / 2 * 2 + 0.5), x % 2), tolerance)
                    << x << " " << y;
            }
        }
    }
}

}  // namespace
