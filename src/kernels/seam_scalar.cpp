#include <stdlib.h>

#include <algorithm>

#include "kernels_scalar.h"

void seam_cost_row_scalar(uint32_t* cost, const uint8_t* a, const uint8_t* b, const uint8_t* mask,
                          int32_t width)
{
    for (int32_t x = 0; x < width; ++x)
        cost[x] = static_cast<uint32_t>(abs(a[x] - b[x])) | mask[x];
}

void seam_accumulate_ends_scalar(uint32_t* cost, const uint32_t* above, int32_t first, int32_t width)
{
    const int32_t last = width - 1;
    cost[0] += std::min(above[0], above[1]);
    for (int32_t x = first; x < last; ++x)
        cost[x] += std::min({above[x - 1], above[x], above[x + 1]});
    cost[last] += std::min(above[last - 1], above[last]);
}

void seam_accumulate_row_scalar(uint32_t* cost, const uint32_t* above, int32_t width)
{
    seam_accumulate_ends_scalar(cost, above, 1, width);
}
