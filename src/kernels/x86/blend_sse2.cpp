// Transitions, SSE2, 16 bytes at a time. In 128ths a byte is 128 e + a (l - e) + 128, at most
// 128 * 255 + 128 = 32 768: the product may be negative, but the sum fits unsigned 16 bits. After
// the shift it is at most 256, which the packing clamps to 255.
#include <emmintrin.h>
#include <stdint.h>

#include "kernels/blend.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

constexpr int32_t kStep = 16;
constexpr int32_t kHalf = kStep / 2;

__m128i _blend_words(__m128i earlier, __m128i later, __m128i weights)
{
    const __m128i change = _mm_mullo_epi16(_mm_sub_epi16(later, earlier), weights);
    const __m128i sum = _mm_add_epi16(_mm_slli_epi16(earlier, 7), change);
    return _mm_srli_epi16(_mm_add_epi16(sum, _mm_set1_epi16(128)), 7);
}

// Blends as many whole vectors as `count` bytes have; returns the number of bytes blended.
// `weights` are those of the first eight bytes; over eight bytes a weight grows by `half_step`.
int32_t _blend(uint8_t* dst, const uint8_t* later, int32_t count, __m128i weights, int32_t half_step)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i step = _mm_set1_epi16(static_cast<int16_t>(half_step));
    int32_t x = 0;
    for (; x <= count - kStep; x += kStep) {
        const __m128i e = Sse2::load(dst + x);
        const __m128i l = Sse2::load(later + x);
        const __m128i low = _blend_words(_mm_unpacklo_epi8(e, zero), _mm_unpacklo_epi8(l, zero), weights);
        weights = _mm_add_epi16(weights, step);
        const __m128i high = _blend_words(_mm_unpackhi_epi8(e, zero), _mm_unpackhi_epi8(l, zero), weights);
        weights = _mm_add_epi16(weights, step);
        Sse2::store(dst + x, _mm_packus_epi16(low, high));
    }
    return x;
}

__m128i _weights(int32_t first_weight, int32_t weight_step, __m128i positions)
{
    const __m128i rises = _mm_mullo_epi16(positions, _mm_set1_epi16(static_cast<int16_t>(weight_step)));
    return _mm_add_epi16(_mm_set1_epi16(static_cast<int16_t>(first_weight)), rises);
}

}  // namespace

void blend_row(uint8_t* dst, const uint8_t* later, int32_t count, int32_t first_weight, int32_t weight_step)
{
    const __m128i weights = _weights(first_weight, weight_step, _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7));
    const int32_t x = _blend(dst, later, count, weights, kHalf * weight_step);
    scalar::blend_row(dst + x, later + x, count - x, first_weight + x * weight_step, weight_step);
}

void blend_pairs_row(uint8_t* dst, const uint8_t* later, int32_t pairs, int32_t first_weight,
                     int32_t weight_step)
{
    const __m128i weights = _weights(first_weight, weight_step, _mm_setr_epi16(0, 0, 1, 1, 2, 2, 3, 3));
    const int32_t x = _blend(dst, later, 2 * pairs, weights, kHalf / 2 * weight_step);
    scalar::blend_pairs_row(dst + x, later + x, pairs - x / 2, first_weight + x / 2 * weight_step,
                            weight_step);
}

}  // namespace ozr::kernels::sse2
