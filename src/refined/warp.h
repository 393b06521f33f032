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

// `out` has the size of the crop, in pixels of the panorama.
PanoResult warp_panorama(const Cancel& cancel, const Layers& layers, const Seams& seams, const Crop& crop,
                         const Corrections& corrections, PanoImg* out);

}  // namespace ozr::refined

#endif
