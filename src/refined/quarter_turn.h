// Quarter turns of whole pictures that can be stopped on the way: those of the largest take longer
// than a caller waits.
#ifndef REFINED_QUARTER_TURN_H
#define REFINED_QUARTER_TURN_H

#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "refined/cancel.h"

namespace ozr::refined
{

// Creates `to`, the NV12 picture `from` turned clockwise or counter-clockwise; sides are even.
// kPanoNoMemory; kPanoCancelled, when `to` holds a part of it.
PanoResult quarter_turn(const PanoImg& from, bool clockwise, const Cancel& cancel, PanoImg* to);

}  // namespace ozr::refined

#endif
