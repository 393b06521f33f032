// What the interface says of a composed sweep: how its pictures are joined, and their cameras.
#ifndef REFINED_JOINTS_H
#define REFINED_JOINTS_H

#include "ozr_panorama.h"
#include "refined/trace.h"

namespace ozr::refined
{

// Neighbours in order of capture come first, then the pairs that reach further. False beyond
// the last.
bool joint_of(const SweepInside& sweep, int32_t index, ozr_panorama_joint* joint);

// In order of capture. False beyond the last.
bool camera_of(const SweepInside& sweep, int32_t index, ozr_panorama_camera* camera);

}  // namespace ozr::refined

#endif
