// Everything far away: sky, clouds, sun, mountains and the hazy part of the town.
#include "scene/parts.h"

#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr Rgb kZenith = {44, 92, 164}, kMidSky = {112, 162, 208}, kHaze = {246, 214, 172};
constexpr Rgb kCloudLight = {255, 247, 232}, kCloudShadow = {168, 172, 190};

/** @param rise  0 at the horizon to 1 at the top of the sky. */
Rgb _sky_colour(double rise)
{
    if (rise < 0.4)
        return mix(kHaze, kMidSky, static_cast<uint32_t>(rise / 0.4 * 256));
    return mix(kMidSky, kZenith, static_cast<uint32_t>((rise - 0.4) / 0.6 * 256));
}

/** How much cloud is at a place: 0 to 65535. */
uint32_t _cloud_noise(double x, double y, int octaves, uint32_t seed)
{
    return fractal_noise(noise_place(x, 330), noise_place(y, 150), octaves, seed);
}

/** Height of a ridge above its foot, 0 to 1. */
double _ridge(double x, double period, int octaves, uint32_t seed)
{
    return fractal_noise(noise_place(x, period), 0, octaves, seed) / 65535.0;
}

struct Range {
    double foot, height, period;  // height of the highest possible peak above the foot
    int octaves;
    Rgb light, dark;
    double snow_line;  // y above which there is snow
};

void _paint_range(Canvas& canvas, const Box& box, const Range& range, uint32_t seed)
{
    const auto top = [&](double x) {
        return range.foot - range.height * _ridge(x, range.period, range.octaves, seed);
    };
    canvas.shade_below(box, top, [&](double x, double y, Rgb) {
        // Slopes run down to the left and to the right of every peak: noise sheared by the height.
        const uint32_t slope = fractal_noise(noise_place(x + y * 0.6, 46), noise_place(y, 70), 4, seed + 17);
        const uint32_t detail = value_noise(noise_place(x, 5), noise_place(y, 5), seed + 29);
        const uint32_t weight = std::clamp<uint32_t>((slope * 5 / 4 + detail / 4) >> 8, 32, 256 + 32) - 32;
        const double snow_edge = range.snow_line + (static_cast<double>(slope) - 32768) / 900;
        if (y < snow_edge)
            return mix({176, 190, 214}, {250, 250, 255}, weight);
        return mix(range.dark, range.light, weight);
    });
}

}  // namespace

void paint_sky(Canvas& canvas, const Box& box, double horizon, uint32_t seed)
{
    canvas.shade(box, [&](double x, double y, Rgb) {
        // Thin veils between the clouds, so that no part of the sky is without structure.
        const uint32_t veil = fractal_noise(noise_place(x + y, 110), noise_place(y, 26), 4, seed + 99) >> 8;
        const double rise = std::clamp((horizon - y) / (horizon - box.top), 0.0, 1.0);
        const Rgb sky = mix(_sky_colour(rise), kCloudLight, veil * veil >> 10);
        const int32_t cover = static_cast<int32_t>(_cloud_noise(x, y, 5, seed)) - 31000;
        if (cover <= 0)
            return sky;
        // Lit from the upper left: bright where the cloud gets thinner in that direction.
        const int32_t towards_light = static_cast<int32_t>(_cloud_noise(x - 22, y - 22, 4, seed)) - 31000;
        const int32_t light = std::clamp(128 + (cover - towards_light) / 48, 0, 256);
        const Rgb cloud = mix(kCloudShadow, kCloudLight, static_cast<uint32_t>(light));
        return mix(sky, cloud, static_cast<uint32_t>(std::min(cover / 28, 244)));
    });
}

void paint_sun(Canvas& canvas, double x, double y)
{
    constexpr double kGlow = 210;
    canvas.shade({x - kGlow, y - kGlow, x + kGlow, y + kGlow}, [&](double px, double py, Rgb below) {
        const double distance = sqrt((px - x) * (px - x) + (py - y) * (py - y)) / kGlow;
        const double rest = std::max(1 - distance, 0.0);
        return mix(below, {255, 240, 200}, static_cast<uint32_t>(rest * rest * 190));
    });
    canvas.disc(x, y, 30, {255, 250, 226});
}

void paint_mountains(Canvas& canvas, const Box& box, uint32_t seed)
{
    const double high = box.height();
    const Range ranges[] = {
        {box.bottom - high * 0.25,
         high * 1.00,
         420,
         6,
         {150, 158, 184},
         {104, 118, 152},
         box.top + high * 0.34},
        {box.bottom - high * 0.10, high * 0.62, 300, 6, {134, 140, 148}, {82, 96, 112}, -1e6},
        {box.bottom, high * 0.45, 230, 5, {108, 130, 88}, {50, 74, 58}, -1e6},
    };
    for (const Range& range : ranges)
        _paint_range(canvas, box, range, seed++);
}

void paint_far_buildings(Canvas& canvas, const Box& box, Dice& dice)
{
    double x = box.left;
    while (x < box.right) {
        const double width = dice.between(26, 70), height = box.height() * dice.between(0.25, 1.0);
        const Box wall = {x, box.bottom - height, x + width, box.bottom};
        const Rgb colour = mix({196, 176, 160}, {120, 134, 162}, dice.below(257));
        canvas.fill(wall, colour);
        canvas.fill({wall.right - width * 0.25, wall.top, wall.right, wall.bottom}, lighten(colour, -18));
        const double step_x = dice.between(5, 9), step_y = dice.between(7, 11);
        repeat(wall.top + 5, wall.bottom - step_y, step_y, [&](double wy) {
            repeat(wall.left + 3, wall.right - step_x, step_x, [&](double wx) {
                const Rgb pane = dice.chance(22)
                                     ? Rgb{252, 226, 160}
                                     : lighten(colour, -20 - static_cast<int32_t>(dice.below(50)));
                canvas.fill({wx, wy, wx + step_x * 0.6, wy + step_y * 0.6}, pane);
            });
        });
        if (dice.chance(30))
            canvas.fill({wall.middle() - 1, wall.top - 26, wall.middle() + 1, wall.top},
                        lighten(colour, -40));
        x += width + dice.between(-6, 12);
    }
}

}  // namespace ozr_pano
