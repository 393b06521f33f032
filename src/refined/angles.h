// Angles in radians.
#ifndef REFINED_ANGLES_H
#define REFINED_ANGLES_H

#include "refined/elementary.h"

namespace ozr::refined
{

constexpr double kDegree = kPi / 180.0;

struct SineCosine {
    double sine;
    double cosine;
};

inline SineCosine sine_cosine(double angle)
{
    return {sine(angle), cosine(angle)};
}

}  // namespace ozr::refined

#endif
