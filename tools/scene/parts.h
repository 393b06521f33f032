// What the scenes are put together from. All places and lengths are canvas units.
#ifndef SCENE_PARTS_H
#define SCENE_PARTS_H

#include "scene/canvas.h"

namespace ozr_pano
{

// Blue to the golden haze at the horizon, with clouds. `box`: to paint. `horizon`: y of the haze.
void paint_sky(Canvas& canvas, const Box& box, double horizon, uint32_t seed);

// The sun with its glow.
void paint_sun(Canvas& canvas, double x, double y);

// Two mountain ranges and wooded hills, down to the bottom of the box; the highest peaks reach its
// top.
void paint_mountains(Canvas& canvas, const Box& box, uint32_t seed);

// A row of far buildings in haze, standing on the bottom of the box.
void paint_far_buildings(Canvas& canvas, const Box& box, Dice& dice);

enum class Facade { brick, glass, plaster, stone };

// Storeys of windows in a wall of the given kind.
void paint_facade(Canvas& canvas, const Box& box, Facade facade, Dice& dice);

// A shop front: display windows, a door, an awning and a sign.
void paint_shop(Canvas& canvas, const Box& box, Dice& dice);

// What stands on a roof: chimneys, a water tank or an antenna. `box`: the facade below.
void paint_roof(Canvas& canvas, const Box& box, Dice& dice);

// A building with roof and shop, standing on the bottom of the box, as wide and at most as high as
// the box.
void paint_building(Canvas& canvas, const Box& box, Dice& dice);

// A vertical sign with one letter below the other, hung from (x, y).
struct HangingSign {
    double letter_height;
    const char* text;
    Rgb colour;
};
void paint_hanging_sign(Canvas& canvas, double x, double y, const HangingSign& sign);

// Bricks in running bond; the size of one is with its joint.
struct Bricks {
    double width;
    double height;
    Rgb colour;
};
void paint_bricks(Canvas& canvas, const Box& box, const Bricks& bricks, Dice& dice);

// Pavement, road with cars and, nearest, a brick wall; from the top of the box down to whatever the
// canvas shows.
void paint_street(Canvas& canvas, const Box& box, Dice& dice);

// A tree whose trunk stands at (x, ground).
void paint_tree(Canvas& canvas, double x, double ground, double height, Dice& dice);

// A street lamp.
void paint_lamp(Canvas& canvas, double x, double ground, double height);

}  // namespace ozr_pano

#endif
