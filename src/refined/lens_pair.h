// How places of one picture show in another, for two cameras that only turned in between.
#ifndef REFINED_LENS_PAIR_H
#define REFINED_LENS_PAIR_H

#include "refined/camera.h"

namespace ozr::refined
{

// Places are measured from the middle of each picture, in pixels of the base level.
struct LensPair {
    Rotation turn;  // a ray of the first camera into the second
    double first_focal;
    double second_focal;
    double radial;
    Skew first_skew;
    Skew second_skew;
    Falloff falloff;  // as far as it is known
};

// A place seen in both pictures.
struct Match {
    Place first;
    Place second;
};

// Rays that go further aside than 84 degrees show on no picture: the least part ahead of a ray that
// has a place there.
constexpr double kLeastAhead = 0.1;

// False where the second camera looks away.
bool place_in_second(const LensPair& lenses, Place first, Place* second);

}  // namespace ozr::refined

#endif
