#include <stdlib.h>

#include <algorithm>

#include "kernels_scalar.h"

void seam_cost_row_scalar(uint32_t* cost, const uint8_t* a, const uint8_t* b, const uint8_t* mask,
                          int32_t width)
{
    for (int32_t x = 0; x < width; ++x)
        cost[x] = static_cast<uint32_t>(abs(a[x] - b[x])) | mask[x];
}

void seam_sum_columns_scalar(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row,
                             int32_t first, int32_t end)
{
    const OzrSeamRow r = row;  // a copy, which no store below can change
    for (int32_t x = first; x < end; ++x) {
        // An outer column stands in for the neighbour it lacks: a tie with itself is no step.
        const uint32_t straight = above[x];
        const uint32_t left = x > 0 ? above[x - 1] : straight;
        const uint32_t right = x < r.width - 1 ? above[x + 1] : straight;
        // Without a branch on the pictures: it would be guessed wrong every few pixels.
        const uint32_t better = std::min(straight, left);
        const uint32_t least = std::min(better, right);
        const int32_t takes_right = least != better;
        const int32_t takes_left = better != straight;
        sums[x] = (static_cast<uint32_t>(abs(r.a[x] - r.b[x])) | r.mask[x]) + least;
        steps[x] = static_cast<int8_t>(takes_right - (takes_left & (takes_right ^ 1)));
    }
}

void seam_sum_row_scalar(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row)
{
    seam_sum_columns_scalar(sums, steps, above, row, 0, row.width);
}
