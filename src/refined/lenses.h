// The cameras of a sweep, and those of two of its pictures.
#ifndef REFINED_LENSES_H
#define REFINED_LENSES_H

#include "base/limits.h"
#include "refined/lens_pair.h"

namespace ozr::refined
{

struct Lenses {
    Rotation rotations[kMaxPictures];
    double zooms[kMaxPictures];  // natural logarithm of the picture's own focal length over `focal`
    double focal;                // base pixels
    double radial;
    Skew skews[kMaxPictures];
    Falloff falloff;  // none unless it was found: no place depends on it
};

// The cameras of two pictures in the world.
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

// The view of one picture in another.
LensPair lens_pair(const Lenses& lenses, int32_t first, int32_t second);

}  // namespace ozr::refined

#endif
