// What corrections shift the panorama's pixels by, a row at a time, at the nodes of the drawing.
#ifndef REFINED_SHIFT_ROWS_H
#define REFINED_SHIFT_ROWS_H

#include "refined/bands.h"
#include "refined/interval.h"
#include "refined/nodes.h"
#include "support/buffer.h"

namespace ozr::refined
{

// Those of one picture, from the panorama's first row to the last.
class ShiftRows
{
public:
    // `corrections` must outlive this. kPanoNoMemory.
    PanoResult init(const Corrections& corrections, int32_t picture, int32_t nodes);

    // Whether `row` is between other rows of the correction than those prepared.
    bool needs(int32_t row) const;

    // Works out the rows of the correction above and below `row`, at `nodes`.
    void prepare(int32_t row, const Interval& nodes);

    // Shifts of one channel at `nodes`, some of those prepared.
    void fill(int16_t* dst, int32_t channel, int32_t row, const Interval& nodes) const;

private:
    int32_t down(int32_t row) const;
    void at_nodes(int32_t* dst, const int16_t* shifts, const Interval& nodes) const;

    int32_t step_bits_ = 0;  // of the corrections
    const Correction* correction_ = nullptr;
    // Shifts of the correction's rows above and below, times the pixels of a step.
    Buffer<int32_t> above_[kChannels], below_[kChannels];
    int32_t prepared_ = -1;   // the correction's row above
    Interval made_ = {0, 0};  // nodes
};

}  // namespace ozr::refined

#endif
