#include "kernels/match.h"

namespace ozr::kernels::scalar
{

MaskedSums correlate_masked(const MaskedArea& a, const MaskedArea& b, int32_t columns, int32_t rows)
{
    MaskedSums sums = {};
    for (int32_t y = 0; y < rows; ++y) {
        const int16_t* p = a.contrast + y * a.stride;
        const int16_t* p_mask = a.mask + y * a.stride;
        const int16_t* q = b.contrast + y * b.stride;
        const int16_t* q_mask = b.mask + y * b.stride;
        for (int32_t x = 0; x < columns; ++x) {
            sums.aa += p[x] * (p[x] & q_mask[x]);
            sums.bb += q[x] * (q[x] & p_mask[x]);
            sums.ab += p[x] * q[x];
        }
    }
    return sums;
}

int32_t dot_product(const int16_t* a, const int16_t* b, int32_t count)
{
    int32_t sum = 0;
    for (int32_t i = 0; i < count; ++i)
        sum += a[i] * b[i];
    return sum;
}

}  // namespace ozr::kernels::scalar
