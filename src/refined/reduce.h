// Pictures of a 2^bits-th of the size, by means of square blocks.
#ifndef REFINED_REDUCE_H
#define REFINED_REDUCE_H

#include "refined/draw.h"
#include "support/buffer.h"

namespace ozr::refined
{

// An even number of pixels, at least 4: what is left of a side.
int32_t reduced_side(int32_t side, int32_t bits);

// NV12 without padding, the chroma rows after the luma rows; null when memory is out. `cancel` is looked at between rows:
// once asked, the rest stays as it is.
Buffer<uint8_t> reduce_picture(const PanoImg& picture, int32_t bits, const Cancel& cancel);

}  // namespace ozr::refined

#endif
