// How much of what is finest in a picture is noise, and how softly to draw it therefore.
#ifndef REFINED_GRAIN_H
#define REFINED_GRAIN_H

#include <stdint.h>

#include "base/plane.h"

namespace ozr::refined
{

// In square levels: the variance that white noise as strong would have. Both are 0 where too
// few blocks can be measured.
struct Grain {
    double noise;
    double all;  // with what the picture shows
};

Grain measure_grain(const ConstPlane& luma);

// The number in kernels::kDrawCubic of the weights that bring drawn pictures of this grain nearest
// to what they show.
int32_t softness_for(const Grain& grain);

}  // namespace ozr::refined

#endif
