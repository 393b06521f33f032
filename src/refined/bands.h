// The slow half of blending in two bands: what each picture is shifted by, so that all slow
// differences between neighbours run out over a wide range. The fast half is the feather
// along the seams.
#ifndef REFINED_BANDS_H
#define REFINED_BANDS_H

#include "refined/crop.h"
#include "refined/layers.h"
#include "refined/seams.h"
#include "support/buffer.h"

namespace ozr::refined
{

constexpr int32_t kChannels = 3;  // luma, first and second byte of chroma pairs

// Shifts of one picture, in Q5 levels, within kernels::kDrawMaxShift; on a lattice from the
// panorama's first pixel on.
struct Correction {
    int32_t first, columns, rows;
    Buffer<int16_t> shift[kChannels];
};

struct Corrections {
    int32_t step_bits;  // pixels from one point to the next: 2^step_bits, 8 or more
    Correction at[kMaxPictures];
};

PanoResult find_corrections(const Cancel& cancel, const Layers& layers, const Seams& seams, const Crop& crop,
                            Corrections* corrections);

}  // namespace ozr::refined

#endif
