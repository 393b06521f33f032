// The meaning of the motion estimation.
#ifndef REFERENCE_MOTION_H
#define REFERENCE_MOTION_H

#include <vector>

#include "ozr_types.h"

namespace ozr_reference
{

// Shift of the content of `current` against `reference`, both of width x height packed pixels.
ozr_point estimate_motion(const std::vector<uint8_t>& reference, const std::vector<uint8_t>& current,
                          int32_t width, int32_t height);

}  // namespace ozr_reference

#endif
