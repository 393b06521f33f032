// A picture of the sweep as the refined quality keeps it: NV12 with the sweep along x,
// and its pyramid.
#ifndef REFINED_PICTURE_H
#define REFINED_PICTURE_H

#include <stdint.h>

#include "base/plane.h"
#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "refined/cancel.h"
#include "support/buffer.h"

namespace ozr::refined
{

// Halvings of the largest pictures that 32-bit sizes allow: 2^15 pixels to a side.
constexpr int32_t kMaxLevels = 16;

// Level 0 is the picture's own luma; every further level is the truncated mean of 2 x 2 pixels of
// the one before.
struct Pyramid {
    ConstPlane levels[kMaxLevels];
    int32_t count;
    // The level that brightness, seams and slow transitions are found on: 2 or more, unless a
    // picture is smaller than 32 to a side. And its chroma, rounded means of 2 x 2 pairs at each
    // halving; its width is counted in pairs.
    int32_t small;
    ConstPlane small_pairs;
    Buffer<uint8_t> block;  // of all levels but the first
};

// Copies an NV12 picture into `kept`, with tight rows and even sizes (an odd last row or column
// is left out), and builds its pyramid in the same pass: while two rows are at hand, their
// means cost little. `turn` makes a quarter turn clockwise. kPanoBadArgument: smaller than
// 2 x 2; kPanoNoMemory; kPanoCancelled.
PanoResult keep_picture(const PanoImg* picture, bool turn, const Cancel& cancel, PanoImg* kept,
                        Pyramid* pyramid);

// Builds the pyramid of a picture that is kept already. kPanoNoMemory; kPanoCancelled.
PanoResult build_pyramid(const PanoImg* kept, const Cancel& cancel, Pyramid* pyramid);

// The first level whose longer side is at most `side`.
int32_t level_within(const Pyramid& pyramid, int32_t side);

}  // namespace ozr::refined

#endif
