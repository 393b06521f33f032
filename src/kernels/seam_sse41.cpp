// Seam costs, SSE4.1: as in SSE2, with a 32-bit minimum.
#include <smmintrin.h>
#include <stdint.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int32_t kStep = 16;
constexpr int32_t kLanes = 4;

__m128i _load(const void* src)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(src));
}

// Stores the sums of four columns and returns their steps.
__m128i _sum(uint32_t* sums, const uint32_t* above, __m128i costs)
{
    const __m128i straight = _load(above);
    const __m128i left = _load(above - 1);
    const __m128i right = _load(above + 1);
    const __m128i better = _mm_min_epi32(straight, left);
    const __m128i takes_right = _mm_cmpgt_epi32(better, right);
    const __m128i least = _mm_add_epi32(_mm_cvtepu8_epi32(costs), _mm_min_epi32(better, right));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(sums), least);
    return _mm_sub_epi32(_mm_andnot_si128(takes_right, _mm_cmpgt_epi32(straight, left)), takes_right);
}

void _sum_columns(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row, int32_t x)
{
    const __m128i a = _load(row.a + x);
    const __m128i b = _load(row.b + x);
    const __m128i difference = _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
    const __m128i costs = _mm_or_si128(difference, _load(row.mask + x));
    const __m128i steps0 = _sum(sums + x, above + x, costs);
    const __m128i steps1 = _sum(sums + x + kLanes, above + x + kLanes, _mm_srli_si128(costs, 4));
    const __m128i steps2 = _sum(sums + x + 2 * kLanes, above + x + 2 * kLanes, _mm_srli_si128(costs, 8));
    const __m128i steps3 = _sum(sums + x + 3 * kLanes, above + x + 3 * kLanes, _mm_srli_si128(costs, 12));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(steps + x),
                     _mm_packs_epi16(_mm_packs_epi32(steps0, steps1), _mm_packs_epi32(steps2, steps3)));
}

}  // namespace

void seam_sum_row_sse41(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row)
{
    const int32_t end = row.width - 1;  // the outer columns lack a neighbour
    if (end - 1 < kStep) {
        seam_sum_row_scalar(sums, steps, above, row);
        return;
    }
    for (int32_t x = 1; x < end - kStep; x += kStep)
        _sum_columns(sums, steps, above, row, x);
    _sum_columns(sums, steps, above, row, end - kStep);  // in part once more
    seam_sum_columns_scalar(sums, steps, above, row, 0, 1);
    seam_sum_columns_scalar(sums, steps, above, row, end, row.width);
}
