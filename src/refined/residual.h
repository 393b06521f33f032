// The distance of one match and how it changes with the cameras.
#ifndef REFINED_RESIDUAL_H
#define REFINED_RESIDUAL_H

#include "refined/adjust.h"

namespace ozr::refined
{

// How freely the lens may be bent to the matches.
enum LensFreedom {
    kLensOfPair,   // two pictures tell a focal length at best
    kLensOfSweep,  // zooms and the radial term too
    kShutterToo,   // and what a moving camera's shutter does to each picture
};

// One coordinate of a distance, by small changes of the unknowns. A turn of the second camera
// changes it by the opposite of what the same turn of the first does; the common focal length by
// what both zooms do together.
struct Slope {
    double turn[3];  // of the first camera, about the world's axes, radians
    double first_zoom;
    double second_zoom;
    double radial;
    double first_skew[2];  // stretch, shear
    double second_skew[2];
};

struct Residual {
    double x;  // base pixels
    double y;
    Slope slope_x;
    Slope slope_y;
};

// What the matches of a link have in common.
struct LinkView {
    Rotation first;
    Rotation second;
    double first_focal;
    double second_focal;
    double radial;
    Skew first_skew;
    Skew second_skew;
};

LinkView link_view(const Lenses& lenses, int32_t first, int32_t second);

// With the slopes that the freedom leaves open: turns and zooms, the radial term, skews. False
// where the second camera looks away.
bool residual_of(const LinkView& view, const Match& match, LensFreedom freedom, Residual* residual);

// The distance alone, squared; very large where the second camera looks away.
double squared_distance(const LensPair& lenses, const Match& match);

}  // namespace ozr::refined

#endif
