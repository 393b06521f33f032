// How far matches are from where cameras show them, and how that changes with the cameras.
#ifndef REFINED_RESIDUAL_H
#define REFINED_RESIDUAL_H

#include "refined/lenses.h"
#include "refined/pair_guess.h"

namespace ozr::refined
{

// Matches of two pictures.
struct Link {
    int32_t first;
    int32_t second;
    PairGuess guess;
    int32_t count;
    const Match* matches;
};

// How freely the lens may be bent to the matches.
enum LensFreedom {
    kLensOfPair,   // two pictures show a focal length at best
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

// With the slopes that the freedom leaves open: turns and zooms, the radial term, skews. False
// where the second camera looks away.
bool residual_of(const LinkView& view, const Match& match, LensFreedom freedom, Residual* residual);

// How well the matches of a link agree with the cameras.
struct Agreement {
    int32_t near;     // matches within kNearPixels
    double residual;  // root mean square distance of those, base pixels
};
constexpr double kNearPixels = 3.0;
Agreement agreement_of(const Link& link, const Lenses& lenses);

}  // namespace ozr::refined

#endif
