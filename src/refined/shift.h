// The rough shift of two neighbours: where the unrolled second picture correlates best
// with the first.
#ifndef REFINED_SHIFT_H
#define REFINED_SHIFT_H

#include "refined/cancel.h"
#include "refined/unroll.h"

namespace ozr::refined
{

// A picture unrolled twice: at the coarse size every shift is tried, at twice that size the
// best are measured.
struct UnrolledPair {
    Unrolled coarse;
    Unrolled fine;
};

// Shifts to be tried, in shares of the picture's width and height: place (x, y) of the second
// picture is place (x + shift_x, y + shift_y) of the first.
struct ShiftRange {
    double left;
    double right;
    double up;
    double down;
};

// In pixels of the fine size.
struct Shift {
    int32_t x;
    int32_t y;
    // Correlation, less where little overlaps; unrelated pictures reach 0.25, neighbours
    // 0.5 and more.
    double value;
};

// The best shifts, the best first; none where nothing can be compared.
constexpr int32_t kMaxShifts = 2;
struct Shifts {
    int32_t count;
    Shift best[kMaxShifts];
};

// kPanoNoMemory, kPanoCancelled.
PanoResult find_shifts(const UnrolledPair& first, const UnrolledPair& second, const ShiftRange& range,
                       const Cancel& cancel, Shifts* shifts);

}  // namespace ozr::refined

#endif
