// The rough shift of two neighbours: where the unrolled second picture correlates best
// with the first.
#ifndef REFINED_SHIFT_H
#define REFINED_SHIFT_H

#include <algorithm>

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

// Keeps the best `most` of the shifts offered, the best first; of equal ones the first. Returns how
// many are kept.
template <class OfShift>
int32_t keep_best(OfShift* kept, int32_t count, int32_t most, const OfShift& offered)
{
    int32_t place = count;
    while (place > 0 && kept[place - 1].value < offered.value)
        --place;
    if (place >= most)
        return count;
    const int32_t now = std::min(count + 1, most);
    std::copy_backward(kept + place, kept + now - 1, kept + now);
    kept[place] = offered;
    return now;
}

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
