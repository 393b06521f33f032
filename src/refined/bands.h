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

// One picture's shifts at every eighth pixel of the panorama, a row at a time.
class ShiftRows
{
public:
    PanoResult init(int32_t nodes);

    // Looks at rows of the correction anew where `row` lies between others than the row before did.
    bool needs(const Corrections& corrections, int32_t row) const;

    // Makes what the rows between these need, for the nodes of `range`.
    void prepare(const Corrections& corrections, int32_t picture, int32_t row, const NodeRange& range);

    // Shifts of one channel, for nodes of the range.
    void fill(int16_t* dst, const Corrections& corrections, int32_t channel, int32_t row,
              const NodeRange& range) const;

private:
    // Shifts of the correction's rows above and below, times the pixels of a step.
    Buffer<int32_t> above_[kChannels], below_[kChannels];
    int32_t prepared_ = -1;  // the correction's row above
    NodeRange made_ = {0, 0};
};

}  // namespace ozr::refined

#endif
