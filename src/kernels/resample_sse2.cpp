#include <emmintrin.h>
#include <string.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int32_t kStep = 16;

__m128i _load(const uint8_t* bytes)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

__m128i _even(__m128i bytes)
{
    return _mm_and_si128(bytes, _mm_set1_epi16(0x00FF));
}

// Sums of the neighbours 2x and 2x + 1 of sixteen bytes.
__m128i _pair_sums(__m128i bytes)
{
    return _mm_add_epi16(_even(bytes), _mm_srli_epi16(bytes, 8));
}

// Four sums of four pixels, at most 1020, become a mean each.
__m128i _half(const uint8_t* top, const uint8_t* bottom)
{
    return _mm_srli_epi16(_mm_add_epi16(_pair_sums(_load(top)), _pair_sums(_load(bottom))), 2);
}

// Positions are Q22.10.
constexpr uint32_t kFracBits = 10;
constexpr uint32_t kOne = 1U << kFracBits;

constexpr int32_t kOutputs = 8;

// Bytes of `row` at and right of eight columns, a pair of them to a 16-bit lane.
__m128i _gather_pairs(const uint8_t* row, const uint32_t* columns)
{
    uint16_t pairs[kOutputs];
    for (int32_t k = 0; k < kOutputs; ++k)
        memcpy(&pairs[k], row + columns[k], sizeof(uint16_t));
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs));
}

// For 32-bit fractions, the two weights 1024 - f and f as 16-bit halves.
__m128i _weights(__m128i positions)
{
    const __m128i fractions = _mm_and_si128(positions, _mm_set1_epi32(kOne - 1));
    return _mm_or_si128(_mm_sub_epi32(_mm_set1_epi32(kOne), fractions), _mm_slli_epi32(fractions, 16));
}

// (upper (1024 - fy) + lower fy) >> 20 for values of 18 bits, done in two halves of 9 bits, each of which fits the
// 16-bit multiplication: (510 * 1024 << 9) + 511 * 1024 stays below 2^28.
__m128i _blend_rows(__m128i upper, __m128i lower, __m128i weights)
{
    const __m128i mask = _mm_set1_epi32(511);
    const __m128i high = _mm_or_si128(_mm_srli_epi32(upper, 9), _mm_slli_epi32(_mm_srli_epi32(lower, 9), 16));
    const __m128i low =
        _mm_or_si128(_mm_and_si128(upper, mask), _mm_slli_epi32(_mm_and_si128(lower, mask), 16));
    const __m128i sum =
        _mm_add_epi32(_mm_slli_epi32(_mm_madd_epi16(high, weights), 9), _mm_madd_epi16(low, weights));
    return _mm_srli_epi32(sum, 2 * kFracBits);
}

}  // namespace

void resample_gray_row_sse2(uint8_t* dst, int32_t dst_width, const uint8_t* top, const uint8_t* bottom,
                            uint32_t step, uint32_t fraction)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i row_weights = _weights(_mm_set1_epi32(static_cast<int32_t>(fraction)));
    const uint32_t last = ozr_last_column_read(dst_width, step);
    uint32_t position = 0;
    int32_t x = 0;
    for (; x + kOutputs <= dst_width && ((position + (kOutputs - 1) * step) >> kFracBits) < last;
         x += kOutputs) {
        uint32_t columns[kOutputs];
        uint32_t positions[kOutputs];
        for (uint32_t k = 0; k < kOutputs; ++k) {
            positions[k] = position + k * step;
            columns[k] = positions[k] >> kFracBits;
        }
        const __m128i upper = _gather_pairs(top, columns);
        const __m128i lower = _gather_pairs(bottom, columns);
        const __m128i left = _weights(_mm_loadu_si128(reinterpret_cast<const __m128i*>(positions)));
        const __m128i right = _weights(_mm_loadu_si128(reinterpret_cast<const __m128i*>(positions + 4)));
        const __m128i first = _blend_rows(_mm_madd_epi16(_mm_unpacklo_epi8(upper, zero), left),
                                          _mm_madd_epi16(_mm_unpacklo_epi8(lower, zero), left), row_weights);
        const __m128i second =
            _blend_rows(_mm_madd_epi16(_mm_unpackhi_epi8(upper, zero), right),
                        _mm_madd_epi16(_mm_unpackhi_epi8(lower, zero), right), row_weights);
        const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(first, second), zero);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + x), bytes);
        position += kOutputs * step;
    }
    resample_gray_rest(dst + x, dst_width - x, top, bottom, position, step, fraction);
}

void half_gray_row_sse2(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width)
{
    int32_t x = 0;
    for (; x + kStep <= dst_width; x += kStep) {
        const __m128i means = _mm_packus_epi16(_half(top + 2 * x, bottom + 2 * x),
                                               _half(top + 2 * x + kStep, bottom + 2 * x + kStep));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), means);
    }
    half_gray_row_scalar(dst + x, top + 2 * x, bottom + 2 * x, dst_width - x);
}

void yuyv_luma_row_sse2(uint8_t* dst, const uint8_t* src, int32_t dst_width)
{
    int32_t x = 0;
    // The last luma byte of a row may be the last byte that may be read: one pixel stays for the scalar end.
    for (; x + kStep < dst_width; x += kStep) {
        const __m128i luma = _mm_packus_epi16(_even(_load(src + 2 * x)), _even(_load(src + 2 * x + kStep)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), luma);
    }
    yuyv_luma_row_scalar(dst + x, src + 2 * x, dst_width - x);
}
