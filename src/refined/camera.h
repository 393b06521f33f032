// The model of a picture's camera: a pinhole that only turns, with a lens that may
// bend straight lines.
//
// The sweep runs along x; pictures of vertical sweeps have been turned clockwise. World and
// cameras: x to the right along the sweep, y down, z ahead. The middle of a picture,
// ((width - 1) / 2, (height - 1) / 2), looks along the camera's z axis.
#ifndef REFINED_CAMERA_H
#define REFINED_CAMERA_H

#include <stdint.h>

#include "refined/rotation.h"

namespace ozr::refined
{

// A place in units of the focal length, measured from the middle of the picture.
struct Place {
    double x;
    double y;
};

// What a shutter that reads row after row, or column after column, does to the picture of a camera
// that moves meanwhile, as far as a turn and a zoom do not explain it: the place that the lens
// shows at (x, y) is at (x + stretch x + shear y, y + shear x - stretch y).
struct Skew {
    double stretch;
    double shear;
};

inline Place skewed_place(Place p, const Skew& skew)
{
    return {p.x + skew.stretch * p.x + skew.shear * p.y, p.y + skew.shear * p.x - skew.stretch * p.y};
}

inline Place unskewed_place(Place p, const Skew& skew)
{
    const double scale = 1.0 / (1.0 - skew.stretch * skew.stretch - skew.shear * skew.shear);
    return {scale * (p.x - skew.stretch * p.x - skew.shear * p.y),
            scale * (p.y - skew.shear * p.x + skew.stretch * p.y)};
}

// Light that a lens loses towards the corners: luma falls by exp(first p + second p^2), where p is
// the square of the distance to the middle, 1 at the corners.
struct Falloff {
    double first;
    double second;

    bool is_none() const { return first == 0.0 && second == 0.0; }
};

// No lens bends lines by more than this radial term, either way.
constexpr double kMostRadial = 0.5;

struct Camera {
    Rotation rotation;  // turns a ray of the camera into the world
    double focal;       // pixels of the picture, this picture's own (zoom included)
    // k1: the ray of picture place (x, y) is (u d, v d, 1), with u = (x - cx) / focal,
    // v = (y - cy) / focal and d = 1 + k1 (u^2 + v^2).
    double radial;
    double gain;  // brightness: luma is multiplied by it
    bool used;    // in the panorama
    Skew skew = {0.0, 0.0};
};

// Where the straight line of sight of a place on a bent picture goes: (u d, v d).
Place straightened_place(Place bent, double radial);

// The inverse, and how far it is from being one: `stretch` is d(r d) / dr, which is positive where
// the lens is usable.
struct BentPlace {
    Place place;
    double scale;    // d
    double stretch;  // 1 + 3 k1 r^2
};
BentPlace bent_place(Place straight, double radial);

}  // namespace ozr::refined

#endif
