// The near buildings: walls of four kinds, windows of which no two are alike, shops and roofs.
#include "scene/parts.h"

#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr Rgb kBrickColours[] = {{158, 84, 66}, {136, 72, 60}, {176, 116, 84}, {122, 82, 74}};
constexpr Rgb kPlasterColours[] = {
    {226, 204, 160}, {204, 176, 150}, {182, 196, 190}, {222, 182, 158}, {190, 178, 196}};
constexpr Rgb kAwningColours[] = {{178, 42, 44}, {38, 96, 76}, {44, 74, 132}, {206, 146, 40}};
constexpr const char* kShopNames[] = {"BAKERY", "BOOKS",   "CINEMA",  "TEA ROOM",
                                      "RADIO",  "FLOWERS", "CAFE 21", "MUSEUM"};
constexpr Rgb kStone = {214, 206, 190}, kIron = {48, 52, 60};

template <class T, uint32_t kCount>
const T& _pick(const T (&table)[kCount], Dice& dice)
{
    return table[dice.below(kCount)];
}

// Calls paint(cell) for equal cells of about the wished size that fill a box.
template <class Paint>
void _for_cells(const Box& box, double cell_width, double cell_height, Paint paint)
{
    const int columns = std::max(static_cast<int>(lround(box.width() / cell_width)), 1);
    const int rows = std::max(static_cast<int>(lround(box.height() / cell_height)), 1);
    const double width = box.width() / columns, height = box.height() / rows;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const double left = box.left + column * width, top = box.top + row * height;
            paint(Box{left, top, left + width, top + height});
        }
    }
}

// A sash window: frame, panes that mirror the sky or are lit, sometimes a blind or curtains.
void _paint_window(Canvas& canvas, const Box& box, Rgb frame, Dice& dice)
{
    canvas.fill(box, frame);
    const Box pane = box.inset(1.6, 1.6);
    const bool lit = dice.chance(24);
    const Rgb top = lit ? Rgb{255, 220, 140} : mix({40, 56, 80}, {150, 186, 216}, dice.below(220));
    const Rgb bottom = lit ? Rgb{236, 160, 84} : mix(top, {18, 26, 40}, 150);
    constexpr int kBands = 4;
    for (int band = 0; band < kBands; ++band) {
        const double y = pane.top + pane.height() * band / kBands;
        canvas.fill({pane.left, y, pane.right, y + pane.height() / kBands},
                    mix(top, bottom, static_cast<uint32_t>(band) * 256 / (kBands - 1)));
    }
    if (dice.chance(35)) {
        const double blind = pane.height() * dice.between(0.2, 0.8);
        canvas.fill({pane.left, pane.top, pane.right, pane.top + blind},
                    mix({236, 228, 206}, {150, 120, 96}, dice.below(256)), 220);
    } else if (dice.chance(45)) {
        const double curtain = pane.width() * dice.between(0.12, 0.3);
        const Rgb cloth = mix({240, 236, 226}, {140, 60, 60}, dice.below(256));
        canvas.fill({pane.left, pane.top, pane.left + curtain, pane.bottom}, cloth, 230);
        canvas.fill({pane.right - curtain, pane.top, pane.right, pane.bottom}, cloth, 230);
    }
    canvas.fill({pane.middle() - 0.8, pane.top, pane.middle() + 0.8, pane.bottom}, frame);
    const double rail = pane.top + pane.height() * 0.4;
    canvas.fill({pane.left, rail - 0.8, pane.right, rail + 0.8}, frame);
}

void _paint_brick_wall(Canvas& canvas, const Box& box, Dice& dice)
{
    paint_bricks(canvas, box, {11, 4.6, _pick(kBrickColours, dice)}, dice);
    _for_cells(box, 34, 48, [&](const Box& cell) {
        const Box window = {cell.left + 8, cell.top + 10, cell.right - 8, cell.bottom - 8};
        canvas.fill({window.left - 3, window.top - 4, window.right + 3, window.top}, kStone);
        canvas.fill({window.left - 3, window.bottom, window.right + 3, window.bottom + 3},
                    lighten(kStone, -16));
        canvas.fill({window.left - 2, window.bottom + 3, window.right + 2, window.bottom + 5}, {60, 36, 32},
                    120);
        _paint_window(canvas, window, {232, 228, 216}, dice);
    });
}

void _paint_glass_wall(Canvas& canvas, const Box& box, Dice& dice)
{
    const Rgb tint = mix({70, 110, 140}, {92, 128, 116}, dice.below(257));
    const uint32_t seed = dice.roll();
    canvas.fill(box, {52, 64, 76});
    _for_cells(box, 27, 52, [&](const Box& cell) {
        // Neighbouring panes mirror neighbouring pieces of sky, each a little askew.
        const uint32_t sky = value_noise(noise_place(cell.left, 90), noise_place(cell.top, 120), seed) >> 8;
        const Rgb pane = mix(tint, {226, 236, 240}, std::min<uint32_t>(sky * 3 / 4 + dice.below(50), 230));
        canvas.fill(cell.inset(0.9, 0.9), dice.chance(7) ? Rgb{250, 218, 140} : pane);
        canvas.fill({cell.left + 1, cell.bottom - 8, cell.right - 1, cell.bottom - 1}, lighten(pane, -46));
        if (dice.chance(30))
            canvas.fill({cell.left + 3, cell.top + 3, cell.left + 3 + dice.between(3, 9), cell.bottom - 9},
                        lighten(pane, 26));
    });
}

void _paint_plaster_wall(Canvas& canvas, const Box& box, Dice& dice)
{
    const Rgb wall = _pick(kPlasterColours, dice);
    canvas.fill(box, wall);
    canvas.grain(box, 14, dice.roll());
    _for_cells(box, 48, 52, [&](const Box& cell) {
        canvas.fill({cell.left, cell.bottom - 2, cell.right, cell.bottom}, lighten(wall, -26));
        _paint_window(canvas, {cell.left + 10, cell.top + 8, cell.right - 10, cell.bottom - 7},
                      {246, 242, 232}, dice);
        if (!dice.chance(55))
            return;
        const Box balcony = {cell.left + 4, cell.bottom - 20, cell.right - 4, cell.bottom - 4};
        canvas.fill({balcony.left, balcony.bottom, balcony.right, balcony.bottom + 3}, lighten(wall, -60));
        canvas.fill({balcony.left, balcony.top, balcony.right, balcony.top + 1.6}, kIron);
        repeat(balcony.left, balcony.right, 3.4, [&](double x) {
            canvas.fill({x, balcony.top, x + 1, balcony.bottom}, kIron);
        });
        for (uint32_t pot = dice.below(3); pot > 0; --pot) {
            const double x = dice.between(balcony.left, balcony.right), radius = dice.between(2.5, 5);
            canvas.disc(x, balcony.top - 2, radius, mix({60, 110, 50}, {200, 60, 80}, dice.below(200)));
        }
    });
}

void _paint_stone_wall(Canvas& canvas, const Box& box, Dice& dice)
{
    const Rgb stone = lighten(kStone, -static_cast<int32_t>(dice.below(50)));
    paint_bricks(canvas, box, {30, 13, stone}, dice);
    _for_cells(box, 40, 64, [&](const Box& cell) {
        canvas.fill({cell.left, cell.top, cell.right, cell.top + 4}, lighten(stone, 22));
        canvas.fill({cell.left, cell.top + 4, cell.right, cell.top + 6}, lighten(stone, -60), 170);
        canvas.fill({cell.left, cell.top + 6, cell.left + 5, cell.bottom}, lighten(stone, 14));
        const Box window = {cell.left + 11, cell.top + 20, cell.right - 7, cell.bottom - 6};
        canvas.disc(window.middle(), window.top, window.width() / 2, lighten(stone, -70));
        _paint_window(canvas, window, {92, 82, 70}, dice);
    });
}

// Light and shade that drift over all walls, so that rows of equal windows differ from one another.
void _paint_shade(Canvas& canvas, const Box& box)
{
    constexpr int32_t kSteps = 70;
    constexpr uint32_t kSeed = 0x5AD;
    canvas.shade(box, [&](double x, double y, Rgb below) {
        const uint32_t noise = fractal_noise(noise_place(x, 170), noise_place(y, 170), 3, kSeed);
        return lighten(below, (static_cast<int32_t>(noise) - 34000) * kSteps / 32768);
    });
}

void _paint_tank(Canvas& canvas, double x, double roof, Dice& dice)
{
    const Rgb wood = {122, 92, 68};
    for (const double leg : {-13.0, -1.0, 11.0})
        canvas.fill({x + leg, roof - 22, x + leg + 2, roof}, kIron);
    canvas.fill({x - 17, roof - 54, x + 17, roof - 20}, wood);
    repeat(x - 17, x + 16, 3, [&](double stave) {
        canvas.fill({stave, roof - 54, stave + 2.2, roof - 20},
                    lighten(wood, static_cast<int32_t>(dice.below(40)) - 20));
    });
    canvas.fill({x - 19, roof - 57, x + 19, roof - 53}, {70, 60, 56});
}

void _paint_antenna(Canvas& canvas, double x, double roof, double height)
{
    canvas.fill({x - 1.2, roof - height, x + 1.2, roof}, {90, 90, 98});
    repeat(height * 0.35, height * 0.98, height * 0.15, [&](double y) {
        canvas.fill({x - 9, roof - y, x + 9, roof - y + 1.6}, {110, 110, 118});
    });
    canvas.disc(x, roof - height, 2.6, {220, 40, 36});
}

}  // namespace

void paint_bricks(Canvas& canvas, const Box& box, const Bricks& bricks, Dice& dice)
{
    canvas.fill(box, mix(bricks.colour, {190, 182, 172}, 130));
    bool odd = false;
    repeat(box.top, box.bottom, bricks.height, [&](double y) {
        repeat(box.left - (odd ? bricks.width / 2 : 0), box.right, bricks.width, [&](double x) {
            const Box brick = {std::max(x, box.left), y, std::min(x + bricks.width - 0.9, box.right),
                               std::min(y + bricks.height - 0.9, box.bottom)};
            canvas.fill(brick, lighten(bricks.colour, static_cast<int32_t>(dice.below(44)) - 22));
        });
        odd = !odd;
    });
}

void paint_facade(Canvas& canvas, const Box& box, Facade facade, Dice& dice)
{
    switch (facade) {
    case Facade::brick:
        _paint_brick_wall(canvas, box, dice);
        break;
    case Facade::glass:
        _paint_glass_wall(canvas, box, dice);
        break;
    case Facade::plaster:
        _paint_plaster_wall(canvas, box, dice);
        break;
    case Facade::stone:
        _paint_stone_wall(canvas, box, dice);
        break;
    }
    _paint_shade(canvas, box);
}

void paint_shop(Canvas& canvas, const Box& box, Dice& dice)
{
    canvas.fill(box, {64, 58, 56});
    const Box sign = {box.left, box.top, box.right, box.top + 20};
    const Rgb colour = _pick(kAwningColours, dice);
    canvas.fill(sign, lighten(colour, -20));
    const char* name = _pick(kShopNames, dice);
    const double letter = std::min(13.0, 13.0 * (box.width() - 10) / Canvas::letters_width(13, name));
    canvas.letters(box.middle() - Canvas::letters_width(letter, name) / 2, sign.top + 10 - letter / 2, letter,
                   name, {250, 240, 214});
    _for_cells({box.left, sign.bottom, box.right, box.bottom}, 52, 100, [&](const Box& cell) {
        _paint_window(canvas, {cell.left + 4, cell.top + 14, cell.right - 4, cell.bottom - 8}, {120, 96, 70},
                      dice);
        canvas.fill({cell.left, cell.bottom - 8, cell.right, cell.bottom}, {96, 88, 82});
        bool white = dice.chance(50);
        repeat(cell.left, cell.right - 1, cell.width() / 8, [&](double x) {
            canvas.fill({x, cell.top, x + cell.width() / 8, cell.top + 13},
                        white ? Rgb{244, 238, 226} : colour);
            white = !white;
        });
    });
}

void paint_roof(Canvas& canvas, const Box& box, Dice& dice)
{
    canvas.fill({box.left - 3, box.top - 6, box.right + 3, box.top + 3}, lighten(kStone, -30));
    canvas.fill({box.left - 3, box.top + 3, box.right + 3, box.top + 6}, {50, 44, 44}, 130);
    for (uint32_t count = dice.below(4); count > 0; --count) {
        const double x = dice.between(box.left + 20, box.right - 30);
        const double height = dice.between(14, 34);
        paint_bricks(canvas, {x, box.top - 6 - height, x + 13, box.top - 6}, {6, 4, kBrickColours[0]}, dice);
    }
    const double x = dice.between(box.left + 25, box.right - 25);
    if (dice.chance(35))
        _paint_tank(canvas, x, box.top - 6, dice);
    else if (dice.chance(60))
        _paint_antenna(canvas, x, box.top - 6, dice.between(40, 90));
}

void paint_building(Canvas& canvas, const Box& box, Dice& dice)
{
    constexpr Facade kFacades[] = {Facade::brick, Facade::brick, Facade::glass, Facade::plaster,
                                   Facade::stone};
    const Facade facade = _pick(kFacades, dice);
    const double shop_height = 78;
    const Box wall = {box.left,
                      box.bottom - shop_height - (box.height() - shop_height) * dice.between(0.35, 1.0),
                      box.right, box.bottom - shop_height};
    paint_roof(canvas, wall, dice);
    paint_facade(canvas, wall, facade, dice);
    if (dice.chance(40)) {
        const char* text = dice.chance(50) ? "HOTEL" : "MUSIC";
        paint_hanging_sign(canvas, wall.right - 24, wall.bottom - 178,
                           {18, text, _pick(kAwningColours, dice)});
    }
    paint_shop(canvas, {box.left, wall.bottom, box.right, box.bottom}, dice);
    canvas.fill({box.right - 3, wall.top, box.right, box.bottom}, {30, 26, 30}, 120);
}

void paint_hanging_sign(Canvas& canvas, double x, double y, const HangingSign& sign)
{
    const double letter_height = sign.letter_height;
    double bottom = y + 4;
    for (const char* letter = sign.text; *letter != '\0'; ++letter)
        bottom += letter_height + 4;
    const double width = letter_height * 5 / 7 + 10;
    canvas.fill({x - 2, y - 2, x + width + 2, bottom + 2}, {40, 36, 40});
    canvas.fill({x, y, x + width, bottom}, sign.colour);
    double top = y + 4;
    for (const char* next = sign.text; *next != '\0'; ++next) {
        const char letter[] = {*next, '\0'};
        canvas.letters(x + 5, top, letter_height, letter, {255, 246, 220});
        top += letter_height + 4;
    }
}

}  // namespace ozr_pano
