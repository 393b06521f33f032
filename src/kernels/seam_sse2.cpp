// Seam costs, SSE2.
#include <emmintrin.h>
#include <stdint.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int32_t kCostStep = 16;
constexpr int32_t kSumStep = 4;

__m128i _load(const void* src)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(src));
}

void _store(uint32_t* dst, __m128i sums)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), sums);
}

// Four sums less 2^31, so that SSE2's signed comparison orders them as the unsigned numbers they are.
__m128i _load_biased(const uint32_t* sums)
{
    return _mm_xor_si128(_load(sums), _mm_set1_epi32(INT32_MIN));
}

__m128i _min(__m128i a, __m128i b)
{
    const __m128i b_is_less = _mm_cmpgt_epi32(a, b);
    return _mm_or_si128(_mm_and_si128(b_is_less, b), _mm_andnot_si128(b_is_less, a));
}

}  // namespace

void seam_cost_row_sse2(uint32_t* cost, const uint8_t* a, const uint8_t* b, const uint8_t* mask,
                        int32_t width)
{
    const __m128i zero = _mm_setzero_si128();
    int32_t x = 0;
    for (; x <= width - kCostStep; x += kCostStep) {
        const __m128i va = _load(a + x);
        const __m128i vb = _load(b + x);
        const __m128i difference = _mm_or_si128(_mm_subs_epu8(va, vb), _mm_subs_epu8(vb, va));
        const __m128i bytes = _mm_or_si128(difference, _load(mask + x));
        const __m128i low = _mm_unpacklo_epi8(bytes, zero);
        const __m128i high = _mm_unpackhi_epi8(bytes, zero);
        _store(cost + x, _mm_unpacklo_epi16(low, zero));
        _store(cost + x + 4, _mm_unpackhi_epi16(low, zero));
        _store(cost + x + 8, _mm_unpacklo_epi16(high, zero));
        _store(cost + x + 12, _mm_unpackhi_epi16(high, zero));
    }
    seam_cost_row_scalar(cost + x, a + x, b + x, mask + x, width - x);
}

void seam_accumulate_row_sse2(uint32_t* cost, const uint32_t* above, int32_t width)
{
    const int32_t end = width - 1;  // the last column has no right-hand neighbour
    int32_t x = 1;
    for (; x <= end - kSumStep; x += kSumStep) {
        const __m128i sides = _min(_load_biased(above + x - 1), _load_biased(above + x + 1));
        const __m128i least = _min(_load_biased(above + x), sides);
        _store(cost + x, _mm_add_epi32(_load(cost + x), _mm_xor_si128(least, _mm_set1_epi32(INT32_MIN))));
    }
    seam_accumulate_ends_scalar(cost, above, x, width);
}
