// What the lens takes from the light towards the corners, from the places that
// pictures were matched at.
#ifndef REFINED_MATCH_LIGHT_H
#define REFINED_MATCH_LIGHT_H

#include "refined/solve.h"
#include "refined/view.h"

namespace ozr::refined
{

// From all good pairs of used pictures. None at all where the lens takes hardly more than the
// matches can show. kPanoNoMemory.
PanoResult find_falloff(const SweepView& view, const bool* used, Falloff* falloff);

}  // namespace ozr::refined

#endif
