// The foreground: pavement, road, cars, lamps, trees and the wall that the camera looks over.
#include "scene/parts.h"

namespace ozr_pano
{

namespace
{

constexpr Rgb kAsphalt = {88, 88, 94}, kPavement = {184, 176, 166}, kIron = {46, 54, 56};
constexpr double kPavementDepth = 30, kRoadDepth = 62, kWallCap = 12;

void _paint_car(Canvas& canvas, double x, double ground, Dice& dice)
{
    constexpr Rgb kPaints[] = {{170, 34, 38}, {226, 226, 222}, {38, 74, 122},
                               {36, 38, 42},  {210, 164, 48},  {84, 112, 92}};
    const Rgb paint = kPaints[dice.below(6)];
    const double length = dice.between(70, 92);
    canvas.fill({x - 3, ground - 5, x + length + 3, ground + 1}, {30, 30, 34}, 150);
    canvas.fill({x, ground - 22, x + length, ground - 6}, paint);
    canvas.fill({x + length * 0.18, ground - 37, x + length * 0.78, ground - 22}, paint);
    canvas.fill({x + length * 0.22, ground - 34, x + length * 0.46, ground - 23}, {160, 190, 206});
    canvas.fill({x + length * 0.50, ground - 34, x + length * 0.74, ground - 23}, {138, 172, 192});
    canvas.fill({x, ground - 16, x + length, ground - 14.5}, lighten(paint, 40));
    canvas.fill({x, ground - 19, x + 5, ground - 14}, {250, 80, 60});
    canvas.fill({x + length - 5, ground - 19, x + length, ground - 14}, {255, 246, 200});
    for (const double wheel : {0.2, 0.78}) {
        canvas.disc(x + length * wheel, ground - 5, 8, {24, 24, 26});
        canvas.disc(x + length * wheel, ground - 5, 4, {168, 168, 172});
    }
}

void _paint_pavement(Canvas& canvas, const Box& box, Dice& dice)
{
    canvas.fill(box, lighten(kPavement, -50));
    repeat(box.top, box.bottom - 1, 10, [&](double y) {
        repeat(box.left - dice.between(0, 20), box.right, 20, [&](double x) {
            canvas.fill({x, y, x + 19, y + 9}, lighten(kPavement, static_cast<int32_t>(dice.below(40)) - 20));
        });
    });
    canvas.fill({box.left, box.bottom - 4, box.right, box.bottom}, {216, 210, 200});
}

void _paint_road(Canvas& canvas, const Box& box, Dice& dice)
{
    canvas.fill(box, kAsphalt);
    canvas.grain(box, 34, dice.roll());
    const double middle = (box.top + box.bottom) / 2;
    repeat(box.left, box.right, 64, [&](double x) {
        canvas.fill({x, middle - 1.5, x + 34, middle + 1.5}, {236, 232, 214}, 230);
    });
    scatter(dice, {box.left, box.right}, {280, 700}, [&](double x) {
        for (int stripe = 0; stripe < 6; ++stripe)
            canvas.fill({x + stripe * 12, box.top + 3, x + stripe * 12 + 7, box.bottom - 3}, {226, 224, 214},
                        200);
    });
    scatter(dice, {box.left, box.right}, {120, 320},
            [&](double x) { _paint_car(canvas, x, middle - 6, dice); });
    scatter(dice, {box.left, box.right}, {140, 380},
            [&](double x) { _paint_car(canvas, x, box.bottom - 4, dice); });
}

void _paint_poster(Canvas& canvas, const Box& box, Dice& dice)
{
    constexpr const char* kTexts[] = {"JAZZ", "ART", "OZR 360", "OPERA", "CIRCUS"};
    constexpr double kMargin = 6, kLargest = 22;
    const Rgb paper = mix({240, 226, 190}, {70, 120, 160}, dice.below(257));
    canvas.fill(box, paper);
    canvas.fill(box.inset(4, 4), lighten(paper, -30));
    for (int dot = 0; dot < 9; ++dot) {
        const double x = dice.between(box.left + 16, box.right - 16);
        const double y = dice.between(box.top + 44, box.bottom - 16);
        const double radius = dice.between(4, 12);
        canvas.disc(x, y, radius, mix({230, 70, 60}, {250, 210, 80}, dice.below(257)), 220);
    }
    const char* text = kTexts[dice.below(5)];
    const double fitting = kLargest * (box.width() - 2 * kMargin) / Canvas::letters_width(kLargest, text);
    const double height = std::min(kLargest, fitting);
    canvas.letters(box.middle() - Canvas::letters_width(height, text) / 2, box.top + 12, height, text,
                   {250, 246, 236});
}

// The near wall: a stone cap, bricks, and posters here and there.
void _paint_wall(Canvas& canvas, const Box& box, Dice& dice)
{
    paint_bricks(canvas, box, {26, 11, {142, 96, 80}}, dice);
    canvas.fill({box.left, box.top, box.right, box.top + kWallCap}, {200, 194, 182});
    canvas.grain({box.left, box.top, box.right, box.top + kWallCap}, 16, dice.roll());
    canvas.fill({box.left, box.top + kWallCap, box.right, box.top + kWallCap + 4}, {40, 28, 28}, 140);
    repeat(box.left, box.right, 96, [&](double x) {
        canvas.fill({x, box.top, x + 1.4, box.top + kWallCap}, {120, 112, 104});
    });
    scatter(dice, {box.left, box.right}, {150, 340}, [&](double x) {
        _paint_poster(canvas, {x, box.top + 34, x + 84, box.top + 150}, dice);
    });
}

}  // namespace

void paint_street(Canvas& canvas, const Box& box, Dice& dice)
{
    const double road = box.top + kPavementDepth, wall = road + kRoadDepth;
    _paint_pavement(canvas, {box.left, box.top, box.right, road}, dice);
    _paint_road(canvas, {box.left, road, box.right, wall}, dice);
    if (wall < box.bottom)
        _paint_wall(canvas, {box.left, wall, box.right, box.bottom}, dice);
}

void paint_tree(Canvas& canvas, double x, double ground, double height, Dice& dice)
{
    const Rgb bark = {84, 64, 50};
    canvas.fill({x - 4, ground - height * 0.6, x + 4, ground}, bark);
    canvas.fill({x - 4, ground - height * 0.6, x - 1, ground}, lighten(bark, 26));
    canvas.fill({x - 16, ground - 3, x + 16, ground}, kIron);
    const Rgb leaf = mix({66, 112, 52}, {176, 130, 44}, dice.below(180));
    for (int i = 0; i < 170; ++i) {
        // The crown is an ellipse; leaves further up and to the left catch more light.
        const double across = dice.between(-1, 1), up = dice.between(-1, 1);
        if (across * across + up * up > 1)
            continue;
        const int32_t light =
            static_cast<int32_t>((up - across) * 26) + static_cast<int32_t>(dice.below(56)) - 34;
        canvas.disc(x + across * height * 0.34, ground - height * (0.66 + 0.34 * up), dice.between(2.5, 8),
                    lighten(leaf, light));
    }
}

void paint_lamp(Canvas& canvas, double x, double ground, double height)
{
    canvas.fill({x - 4, ground - 10, x + 4, ground}, kIron);
    canvas.fill({x - 1.6, ground - height, x + 1.6, ground}, kIron);
    canvas.fill({x - 14, ground - height, x + 14, ground - height + 2.4}, kIron);
    for (const double side : {-14.0, 14.0}) {
        canvas.disc(x + side, ground - height + 8, 6.5, {255, 244, 206});
        canvas.fill({x + side - 5, ground - height - 1, x + side + 5, ground - height + 3}, kIron);
    }
}

}  // namespace ozr_pano
