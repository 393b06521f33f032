// Evens out brightness: a gain for each picture, and the light that the lens loses
// towards the corners.
#ifndef REFINED_EXPOSURE_H
#define REFINED_EXPOSURE_H

#include "refined/layers.h"

namespace ozr::refined
{

// From the pictures' pyramids, before layers are laid; sets the views' gains and reports those
// of the middles.
PanoResult even_exposure(const Cancel& cancel, Layers* layers, DrawReport* report);

}  // namespace ozr::refined

#endif
