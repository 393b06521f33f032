// What corrections shift the panorama's pixels by, a row at a time, at the nodes of the drawing.
#ifndef REFINED_SHIFT_ROWS_H
#define REFINED_SHIFT_ROWS_H

#include "refined/bands.h"
#include "refined/nodes.h"
#include "support/buffer.h"

namespace ozr::refined
{

// Those of one picture.
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
