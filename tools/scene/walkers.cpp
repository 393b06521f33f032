// A person is a few rounded strokes; how far a place is from a stroke's middle line says how much
// of it is covered.
#include "scene/walkers.h"

#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr double kShortest = 150, kTallest = 200;  // units
constexpr double kUnitsPerSecond = 130;            // of a walk
constexpr double kStrideShare = 0.16;              // of the height, from the middle to one foot
constexpr Rgb kSkin = {205, 160, 130};

// A line with round ends, in shares of the person's height; y grows upwards from the feet.
struct Stroke {
    double x0, y0, x1, y1, radius;
    Rgb colour;
};

// Between the middle line and a place.
double _distance(const Stroke& stroke, double x, double y)
{
    const double dx = stroke.x1 - stroke.x0, dy = stroke.y1 - stroke.y0;
    const double length = dx * dx + dy * dy;
    const double along = length > 0 ? ((x - stroke.x0) * dx + (y - stroke.y0) * dy) / length : 0;
    const double t = std::clamp(along, 0.0, 1.0);
    const double ex = x - stroke.x0 - t * dx, ey = y - stroke.y0 - t * dy;
    return sqrt(ex * ex + ey * ey);
}

// From -1 to 1 and back, once in a period of 1.
double _swing(double place)
{
    const double part = place - floor(place);
    return part < 0.5 ? 4 * part - 1 : 3 - 4 * part;
}

Rgb _cloth(Dice& dice, double low, double high)
{
    const auto channel = [&] { return static_cast<uint8_t>(dice.between(low, high)); };
    const uint8_t r = channel(), g = channel(), b = channel();
    return {r, g, b};
}

}  // namespace

std::vector<Walker> walkers_at(double seconds, int32_t count, const Pavement& pavement, uint32_t seed)
{
    std::vector<Walker> walkers;
    Dice dice(seed + 77);
    for (int32_t i = 0; i < count; ++i) {
        Walker walker = {};
        walker.height = dice.between(kShortest, kTallest);
        const double speed = kUnitsPerSecond * dice.between(0.7, 1.3) * (dice.chance(50) ? 1 : -1);
        const double start =
            pavement.from + (pavement.to - pavement.from) * (i + dice.between(0.2, 0.8)) / count;
        walker.coat = _cloth(dice, 50, 220);
        walker.trousers = _cloth(dice, 25, 110);
        walker.x = start + speed * seconds;
        walker.y = pavement.ground;
        walker.stride = _swing(walker.x / walker.height);
        walkers.push_back(walker);
    }
    return walkers;
}

Box box_of(const Walker& walker)
{
    const double wide = 0.3 * walker.height;
    return {walker.x - wide, walker.y - 1.1 * walker.height, walker.x + wide, walker.y + 0.1 * walker.height};
}

WalkerPaint paint_walker(const Walker& walker, double x, double y, double pixel)
{
    const double u = (x - walker.x) / walker.height, v = (walker.y - y) / walker.height;
    WalkerPaint paint = {walker.coat, 0};
    const double foot = kStrideShare * walker.stride;
    const Stroke strokes[] = {{0, 0.78, -foot, 0.5, 0.035, lighten(walker.coat, -30)},
                              {0, 0.5, foot, 0.04, 0.05, walker.trousers},
                              {0, 0.5, -foot, 0.04, 0.05, lighten(walker.trousers, -12)},
                              {0, 0.78, 0, 0.54, 0.1, walker.coat},
                              {0, 0.92, 0, 0.92, 0.075, kSkin},
                              {0, 0.78, foot, 0.5, 0.035, lighten(walker.coat, 12)}};
    const double soft = pixel / walker.height;
    for (const Stroke& stroke : strokes) {
        const double inside = 0.5 + (stroke.radius - _distance(stroke, u, v)) / soft;
        const uint32_t cover = static_cast<uint32_t>(256 * std::clamp(inside, 0.0, 1.0));
        if (cover == 0)
            continue;
        paint.colour = paint.cover == 0 ? stroke.colour : mix(paint.colour, stroke.colour, cover);
        paint.cover = std::max(paint.cover, cover);
    }
    return paint;
}

}  // namespace ozr_pano
