// What the interface says of the joints of a classic sweep.
#ifndef ENGINE_CLASSIC_JOINT_H
#define ENGINE_CLASSIC_JOINT_H

#include "engine/panorama_engine.h"
#include "ozr_panorama.h"

namespace ozr::engine
{

// The joint of the pictures `index` and `index` + 1 of a composed sweep. False beyond the last.
bool panorama_engine_classic_joint(const PanoramaInternal* pe, int32_t index, ozr_panorama_joint* joint);

}  // namespace ozr::engine

#endif
