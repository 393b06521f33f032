// The upright: which way is down for a camera that swept along the horizon.
#ifndef REFINED_STRAIGHTEN_H
#define REFINED_STRAIGHTEN_H

#include <stdint.h>

#include "refined/rotation.h"

namespace ozr::refined
{

// Turns the world so that the axis the cameras swept about becomes its y axis, and the camera that
// looks to the middle of the sweep looks ahead. Rotations whose `used` is false turn along and do
// not count.
void straighten(Rotation* rotations, const bool* used, int32_t count);

}  // namespace ozr::refined

#endif
