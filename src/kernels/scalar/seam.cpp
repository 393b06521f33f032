#include <stdlib.h>

#include <algorithm>

#include "kernels/seam.h"

namespace ozr::kernels::scalar
{

namespace
{

// `Difference` is the signed number as wide as a `Sum`.
template <class Sum, class Difference>
void _sum_columns(Sum* sums, int8_t* steps, const Sum* above, const SeamRow& row, SeamColumns columns)
{
    const SeamRow r = row;  // a copy: the compiler knows that no store below changes it
    for (int32_t x = columns.first; x < columns.end; ++x) {
        const Sum straight = above[x];
        // Signed distances of the neighbours. A missing one has distance 0: a tie, and so no step.
        const auto left = static_cast<Difference>(x > 0 ? above[x - 1] - straight : 0);
        const auto right = static_cast<Difference>(x < r.width - 1 ? above[x + 1] - straight : 0);
        // No branch depends on the pictures: it would be mispredicted every few pixels.
        const Difference better = std::min<Difference>(left, 0);
        const Difference least = std::min(better, right);
        const int32_t takes_right = least != better;
        const int32_t takes_left = better != 0;
        const uint32_t cost = static_cast<uint32_t>(abs(r.a[x] - r.b[x])) | r.mask[x];
        sums[x] = static_cast<Sum>(cost + straight + static_cast<uint32_t>(least));
        steps[x] = static_cast<int8_t>(takes_right - (takes_left & (takes_right ^ 1)));
    }
}

}  // namespace

void seam_sum_columns(uint16_t* sums, int8_t* steps, const uint16_t* above, const SeamRow& row,
                      SeamColumns columns)
{
    _sum_columns<uint16_t, int16_t>(sums, steps, above, row, columns);
}

void seam_sum_row(uint16_t* sums, int8_t* steps, const uint16_t* above, const SeamRow& row)
{
    seam_sum_columns(sums, steps, above, row, {0, row.width});
}

void seam_sum_wide_row(uint32_t* sums, int8_t* steps, const uint32_t* above, const SeamRow& row)
{
    _sum_columns<uint32_t, int32_t>(sums, steps, above, row, {0, row.width});
}

}  // namespace ozr::kernels::scalar
