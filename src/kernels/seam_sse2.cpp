// Seam costs, SSE2: sixteen columns at a time. Sums stay below 2^31, so the signed comparison orders them.
#include <emmintrin.h>
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

void _store(void* dst, __m128i values)
{
    _mm_storeu_si128(static_cast<__m128i*>(dst), values);
}

// |a - b| | mask of sixteen columns.
__m128i _costs(const uint8_t* a, const uint8_t* b, const uint8_t* mask)
{
    const __m128i va = _load(a);
    const __m128i vb = _load(b);
    const __m128i difference = _mm_or_si128(_mm_subs_epu8(va, vb), _mm_subs_epu8(vb, va));
    return _mm_or_si128(difference, _load(mask));
}

__m128i _select(__m128i condition, __m128i yes, __m128i no)
{
    return _mm_or_si128(_mm_and_si128(condition, yes), _mm_andnot_si128(condition, no));
}

// Stores the sums of four columns and returns their steps.
__m128i _sum(uint32_t* sums, const uint32_t* above, __m128i costs)
{
    const __m128i straight = _load(above);
    const __m128i left = _load(above - 1);
    const __m128i right = _load(above + 1);
    const __m128i takes_left = _mm_cmpgt_epi32(straight, left);
    const __m128i better = _select(takes_left, left, straight);
    const __m128i takes_right = _mm_cmpgt_epi32(better, right);
    _store(sums, _mm_add_epi32(costs, _select(takes_right, right, better)));
    return _mm_sub_epi32(_mm_andnot_si128(takes_right, takes_left), takes_right);
}

void _sum_columns(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row, int32_t x)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i costs = _costs(row.a + x, row.b + x, row.mask + x);
    const __m128i low = _mm_unpacklo_epi8(costs, zero);
    const __m128i high = _mm_unpackhi_epi8(costs, zero);
    const __m128i steps0 = _sum(sums + x, above + x, _mm_unpacklo_epi16(low, zero));
    const __m128i steps1 = _sum(sums + x + kLanes, above + x + kLanes, _mm_unpackhi_epi16(low, zero));
    const __m128i steps2 =
        _sum(sums + x + 2 * kLanes, above + x + 2 * kLanes, _mm_unpacklo_epi16(high, zero));
    const __m128i steps3 =
        _sum(sums + x + 3 * kLanes, above + x + 3 * kLanes, _mm_unpackhi_epi16(high, zero));
    _store(steps + x, _mm_packs_epi16(_mm_packs_epi32(steps0, steps1), _mm_packs_epi32(steps2, steps3)));
}

}  // namespace

void seam_cost_row_sse2(uint32_t* cost, const uint8_t* a, const uint8_t* b, const uint8_t* mask,
                        int32_t width)
{
    const __m128i zero = _mm_setzero_si128();
    int32_t x = 0;
    for (; x <= width - kStep; x += kStep) {
        const __m128i costs = _costs(a + x, b + x, mask + x);
        const __m128i low = _mm_unpacklo_epi8(costs, zero);
        const __m128i high = _mm_unpackhi_epi8(costs, zero);
        _store(cost + x, _mm_unpacklo_epi16(low, zero));
        _store(cost + x + kLanes, _mm_unpackhi_epi16(low, zero));
        _store(cost + x + 2 * kLanes, _mm_unpacklo_epi16(high, zero));
        _store(cost + x + 3 * kLanes, _mm_unpackhi_epi16(high, zero));
    }
    seam_cost_row_scalar(cost + x, a + x, b + x, mask + x, width - x);
}

void seam_sum_row_sse2(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row)
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
