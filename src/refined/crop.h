// The largest rectangle in which every pixel is shown by the picture that owns it.
#ifndef REFINED_CROP_H
#define REFINED_CROP_H

#include "refined/cancel.h"
#include "refined/layers.h"
#include "refined/seams.h"

namespace ozr::refined
{

// Points of the lattice; the panorama has the pixels from the first to before the last.
struct Crop {
    int32_t left, top, right, bottom;
};

// kPanoNotSupported where no rectangle of two points each way is covered.
PanoResult find_crop(const Cancel& cancel, const Layers& layers, const Seams& seams, Crop* crop);

}  // namespace ozr::refined

#endif
