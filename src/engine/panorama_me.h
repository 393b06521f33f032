// Motion estimation between two small grey frames.
#ifndef PANORAMA_ME_H
#define PANORAMA_ME_H

#include <stdint.h>

#include "ozr_types.h"

OZR_BEGIN_DECLS

// Shift of the content of `current` against `reference`, both `width` x `height` bytes without padding: each
// component is 0 or an odd number from -21 to 21. A greedy search in steps of two pixels that stops at the first
// rise; each shift is searched without the other one. Never fails; without pixels the shift is (0, 0). Both frames must
// hold width x height bytes, which the function cannot check.
OZR_API void MotionEstimate(const uint8_t* reference, const uint8_t* current, int32_t width, int32_t height,
                            int32_t* shiftX, int32_t* shiftY);

OZR_END_DECLS

#endif
