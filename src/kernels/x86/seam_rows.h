// Rows of seam sums in vectors of any width. `V` is Sse2 or Avx2. Sums are compared by their
// signed distance from the one straight above, which fits 16 bits although the sums
// themselves wrap around.
#ifndef OZR_SEAM_ROWS_H
#define OZR_SEAM_ROWS_H

#include "kernels/seam.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

template <class V>
struct SeamRows {
    static constexpr int32_t kStep = V::kBytes;
    static constexpr int32_t kLanes = kStep / 2;
    using Vector = typename V::Vector;
    using Bytes = typename V::Bytes;
    using Words = typename V::Words;
    using Sums = typename V::WordSums;

    // Masks of the lanes where the left neighbour is less than the sum straight above, and where
    // the right one is less than the better of the two.
    struct Taken {
        Words left;
        Words right;
    };

    static Vector costs(const uint8_t* a, const uint8_t* b, const uint8_t* mask)
    {
        return V::difference(V::load(a), V::load(b)) | V::load(mask);
    }

    // Stores the sums of kLanes columns.
    static Taken sum(uint16_t* sums, const uint16_t* above, Words costs)
    {
        const Sums straight = Sums(V::load(above));
        const Words left = Words(Sums(V::load(above - 1)) - straight);
        const Words right = Words(Sums(V::load(above + 1)) - straight);
        const Words better = V::lesser(left, Words{});
        V::store(sums, Vector(Sums(costs) + straight + Sums(V::lesser(better, right))));
        const Words takes_left = left < 0;
        const Words takes_right = right < better;
        return {takes_left, takes_right};
    }

    static void sum_columns(uint16_t* sums, int8_t* steps, const uint16_t* above, const SeamRow& row,
                            int32_t x)
    {
        const typename V::TwoWords both = V::widened(costs(row.a + x, row.b + x, row.mask + x));
        const Taken low = sum(sums + x, above + x, both.first);
        const Taken high = sum(sums + x + kLanes, above + x + kLanes, both.second);
        const Bytes left = V::pack_signed(low.left, high.left);
        const Bytes right = V::pack_signed(low.right, high.right);
        V::store(steps + x, V::in_order(Vector(V::and_not(right, left) - right)));
    }

    // Rows that are too narrow go to another variant.
    static void sum_row(uint16_t* sums, int8_t* steps, const uint16_t* above, const SeamRow& r,
                        SeamSumRow* narrow)
    {
        // A copy: the compiler knows that no store below changes it.
        const SeamRow row = r;
        const int32_t end = row.width - 1;  // the outer columns lack a neighbour
        if (end - 1 < kStep) {
            narrow(sums, steps, above, row);
            return;
        }
        for (int32_t x = 1; x < end - kStep; x += kStep)
            sum_columns(sums, steps, above, row, x);
        // May repeat columns, with the same result.
        sum_columns(sums, steps, above, row, end - kStep);
        scalar::seam_sum_columns(sums, steps, above, row, {0, 1});
        scalar::seam_sum_columns(sums, steps, above, row, {end, row.width});
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
