// Rows of seam costs in vectors of any width. `V` is Sse2 or Avx2 with three things more, in which the levels differ: the
// lesser ones of two vectors of numbers, a quarter of a vector's bytes, and such a quarter widened to numbers. Sums stay
// below 2^31, so that signed comparisons order them.
#ifndef OZR_SEAM_ROWS_H
#define OZR_SEAM_ROWS_H

#include "kernels_scalar.h"

// Unnamed: each file that includes this has a copy of its own, compiled for its own instruction set.
namespace
{

template <class V>
struct SeamRows {
    static constexpr int32_t kStep = V::kBytes;
    static constexpr int32_t kLanes = kStep / 4;
    using Vector = typename V::Vector;
    using Ints = typename V::Ints;

    static Vector costs(const uint8_t* a, const uint8_t* b, const uint8_t* mask)
    {
        return V::difference(V::load(a), V::load(b)) | V::load(mask);
    }

    // Stores the sums of a quarter of kStep columns and returns their steps.
    template <class Costs>
    static Ints sum(uint32_t* sums, const uint32_t* above, Costs costs)
    {
        const Ints straight = Ints(V::load(above));
        const Ints left = Ints(V::load(above - 1));
        const Ints right = Ints(V::load(above + 1));
        const Ints better = V::lesser(straight, left);
        const Ints takes_left = straight > left;
        const Ints takes_right = better > right;
        const Ints least = V::widened(costs) + V::lesser(better, right);
        V::store(sums, Vector(least));
        return V::and_not(takes_right, takes_left) - takes_right;
    }

    static void sum_columns(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row,
                            int32_t x)
    {
        const Vector bytes = costs(row.a + x, row.b + x, row.mask + x);
        const Ints steps0 = sum(sums + x, above + x, V::template quarter<0>(bytes));
        const Ints steps1 = sum(sums + x + kLanes, above + x + kLanes, V::template quarter<1>(bytes));
        const Ints steps2 = sum(sums + x + 2 * kLanes, above + x + 2 * kLanes, V::template quarter<2>(bytes));
        const Ints steps3 = sum(sums + x + 3 * kLanes, above + x + 3 * kLanes, V::template quarter<3>(bytes));
        V::store(steps + x,
                 V::in_order_twice(V::pack_signed(V::pack(steps0, steps1), V::pack(steps2, steps3))));
    }

    // Rows that are too narrow go to another variant.
    static void sum_row(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row,
                        SeamSumRow* narrow)
    {
        const int32_t end = row.width - 1;  // the outer columns lack a neighbour
        if (end - 1 < kStep) {
            narrow(sums, steps, above, row);
            return;
        }
        for (int32_t x = 1; x < end - kStep; x += kStep)
            sum_columns(sums, steps, above, row, x);
        sum_columns(sums, steps, above, row, end - kStep);  // in part once more
        seam_sum_columns_scalar(sums, steps, above, row, 0, 1);
        seam_sum_columns_scalar(sums, steps, above, row, end, row.width);
    }
};

}  // namespace

#endif
