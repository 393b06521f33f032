// Draws the panorama itself: every pixel from the picture that owns it, two of them
// under a feather.
#ifndef REFINED_WARP_H
#define REFINED_WARP_H

#include "refined/bands.h"
#include "refined/crop.h"
#include "refined/layers.h"
#include "refined/seams.h"

namespace ozr::refined
{

// Everything that is found on the small copies.
struct Plan {
    Layers layers;
    Seams seams;
    Crop crop;
    Corrections corrections;
    int32_t softness;  // of kernels::DrawPlane
};

// `out` has the size of the crop, in pixels of the panorama.
PanoResult warp_panorama(const Cancel& cancel, const Plan& plan, PanoImg* out);

}  // namespace ozr::refined

#endif
