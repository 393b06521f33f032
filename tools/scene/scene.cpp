// The two scenes: a street for cameras that pan, a tower for cameras that tilt.
#include "scene/scene.h"

#include "scene/parts.h"

#include <string.h>

namespace ozr_pano
{

namespace
{

// The city, in units below the line of sight.
constexpr double kCityHorizon = 150, kPeaks = -270, kRoofLimit = -230;

// The tower: units of open sky above the roof, and its shape.
constexpr double kTowerSky = 560;
constexpr double kTowerHalfWidth = 310, kTowerTopHalfWidth = 190, kSetBack = 22;
constexpr double kMinSection = 330, kMaxSection = 520;

// Buildings side by side, standing on the bottom of the box and at most as high as it.
void _paint_houses(Canvas& canvas, const Box& box, Dice& dice)
{
    constexpr double kNarrowest = 90;
    double left = box.left;
    while (left < box.right) {
        const double width = dice.between(130, 270);
        const double right = left + width + kNarrowest > box.right ? box.right : left + width;
        paint_building(canvas, {left, box.top, right, box.bottom}, dice);
        left = right + (dice.chance(30) ? dice.between(40, 150) : 0.0);
    }
}

// Sections of different walls, the higher the narrower, from the street up to the roof.
void _paint_tower_shaft(Canvas& canvas, double roof, double street, Dice& dice)
{
    constexpr Facade kOrder[] = {Facade::stone, Facade::brick, Facade::glass, Facade::plaster};
    constexpr double kShop = 92;
    paint_shop(canvas, {-kTowerHalfWidth, street - kShop, kTowerHalfWidth, street}, dice);
    double bottom = street - kShop, half_width = kTowerHalfWidth;
    for (uint32_t section = 0; bottom > roof; ++section) {
        const double height = dice.between(kMinSection, kMaxSection);
        // What is left above is a section of its own or belongs to this one.
        const double top = bottom - height - kMinSection > roof ? bottom - height : roof;
        const Box wall = {-half_width, top, half_width, bottom};
        paint_roof(canvas, wall, dice);
        paint_facade(canvas, wall, kOrder[section % 4], dice);
        canvas.fill({wall.right - 26, wall.top, wall.right, wall.bottom}, {26, 24, 34}, 80);
        constexpr const char* kSigns[] = {"HOTEL OZR", "RADIO", "GALLERY", "SKY BAR"};
        if (wall.top > roof) {
            const char* text = kSigns[section % 4];
            const double letter =
                std::min(34.0, (wall.height() - 60) / static_cast<double>(strlen(text)) - 6);
            const double x = wall.left + wall.width() * dice.between(0.05, 0.9);
            const Rgb colour = mix({176, 36, 44}, {34, 70, 130}, dice.below(257));
            paint_hanging_sign(canvas, x, wall.top + 30, {letter, text, colour});
        }
        bottom = wall.top;
        half_width = std::max(half_width - kSetBack, kTowerTopHalfWidth);
    }
}

void _paint_clock(Canvas& canvas, double x, double y, double radius)
{
    canvas.disc(x, y, radius + 7, {70, 56, 44});
    canvas.disc(x, y, radius, {244, 238, 220});
    // Hour marks at quarter turns, and hands at a quarter past twelve.
    canvas.fill({x - 2, y - radius + 5, x + 2, y - radius + 17}, {40, 34, 34});
    canvas.fill({x - 2, y + radius - 17, x + 2, y + radius - 5}, {40, 34, 34});
    canvas.fill({x - radius + 5, y - 2, x - radius + 17, y + 2}, {40, 34, 34});
    canvas.fill({x + radius - 17, y - 2, x + radius - 5, y + 2}, {40, 34, 34});
    canvas.fill({x - 2.5, y - radius * 0.6, x + 2.5, y + 4}, {30, 26, 30});
    canvas.fill({x - 4, y - 1.8, x + radius * 0.8, y + 1.8}, {30, 26, 30});
    canvas.disc(x, y, 5, {160, 40, 40});
}

}  // namespace

Canvas paint_city(double along, double across, double scale, uint32_t seed)
{
    const Box all = {0, -across / 2, along, across / 2};
    Canvas canvas(all, scale);
    Dice dice(seed);
    paint_sky(canvas, {0, all.top, along, kCityStreet}, kCityHorizon, dice.roll());
    paint_sun(canvas, along * 0.62, -230);
    paint_mountains(canvas, {0, kPeaks, along, kCityStreet}, dice.roll());
    paint_far_buildings(canvas, {0, -40, along, kCityStreet}, dice);
    _paint_houses(canvas, {-40, kRoofLimit, along, kCityStreet}, dice);
    paint_street(canvas, {0, kCityStreet, along, std::max(all.bottom, kCityStreet)}, dice);
    scatter(dice, {0, along}, {110, 300}, [&](double x) {
        paint_tree(canvas, x, kCityStreet + 12, dice.between(120, 190), dice);
        paint_lamp(canvas, x + 60, kCityStreet + 20, 130);
    });
    return canvas;
}

Canvas paint_tower(double along, double across, double street, double scale, uint32_t seed)
{
    const Box all = {-across / 2, 0, across / 2, along};
    Canvas canvas(all, scale);
    Dice dice(seed);
    paint_sky(canvas, {all.left, 0, all.right, street}, street, dice.roll());
    paint_mountains(canvas, {all.left, street - 900, all.right, street}, dice.roll());
    paint_far_buildings(canvas, {all.left, street - 700, all.right, street}, dice);
    const double neighbours = street - std::min(1500.0, along * 0.4);
    _paint_houses(canvas, {all.left - 60, neighbours, -kTowerHalfWidth - 14, street}, dice);
    _paint_houses(canvas, {kTowerHalfWidth + 14, neighbours, all.right, street}, dice);
    const double roof = std::min(kTowerSky, street / 2);
    _paint_tower_shaft(canvas, roof, street, dice);
    _paint_clock(canvas, 0, roof + 120, 74);
    paint_street(canvas, {all.left, street, all.right, along}, dice);
    scatter(dice, {all.left, all.right}, {170, 330}, [&](double x) {
        paint_tree(canvas, x, street + 12, dice.between(130, 200), dice);
        paint_lamp(canvas, x + 70, street + 20, 140);
    });
    return canvas;
}

}  // namespace ozr_pano
