// The correlations of two unrolled pictures at many shifts, a row of shifts at a time.
//
// A correlation needs three sums over what both pictures show: of their products, and of the
// squares of each. Products are a kernel's; squares come from running sums along the rows.
#ifndef REFINED_SHIFT_SUMS_H
#define REFINED_SHIFT_SUMS_H

#include "image/pano_result.h"
#include "refined/unroll.h"

namespace ozr::refined
{

// Sums of the squares of how many elements a row begins with; none before it, all behind it.
struct SquaresBefore {
    Buffer<int32_t> sums;
    int32_t least = 0;  // number of elements, which may be negative
    int32_t stride = 0;

    PanoResult init(const Unrolled& image, int32_t least_count, int32_t most_count);
    const int32_t* at(int32_t row, int32_t count) const
    {
        return sums.get() + (int64_t{row} * stride + count - least);
    }
};

class ShiftSums
{
public:
    // For these shifts along rows; the pictures must outlive this.
    PanoResult init(const Unrolled& a, const Unrolled& b, const Interval& shifts);

    // Measures `shifts`, a part of those given before: place (x, y) of the second picture is place
    // (x + shift, y + down) of the first.
    void measure(const Interval& shifts, int32_t down);

    // Of a shift just measured; 0 where the pictures have nothing in common.
    double correlation(int32_t shift) const;

private:
    void add_squares(int32_t down);
    void multiply(int32_t down);

    const Unrolled* a_ = nullptr;
    const Unrolled* b_ = nullptr;
    SquaresBefore squares_a_, squares_b_;
    Buffer<int32_t> aa_, ab_;
    Buffer<int32_t> bb_;  // of the last shift first
    int32_t first_ = 0;
    int32_t count_ = 0;  // whole groups
};

// How many pixels both pictures show at a shift.
int64_t count_shared(const Unrolled& a, const Unrolled& b, int32_t shift, int32_t down);

}  // namespace ozr::refined

#endif
