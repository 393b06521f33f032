#include <emmintrin.h>

#include "kernels/resample.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

constexpr int32_t kStep = 16;

__m128i _even(__m128i bytes)
{
    return _mm_and_si128(bytes, _mm_set1_epi16(0x00FF));
}

// The eight sums of the bytes 2x and 2x + 1.
__m128i _pair_sums(__m128i bytes)
{
    return _mm_add_epi16(_even(bytes), _mm_srli_epi16(bytes, 8));
}

// The eight truncated means of 2 x 2 pixels; their sums are at most 1020.
__m128i _half(const uint8_t* top, const uint8_t* bottom)
{
    return _mm_srli_epi16(_mm_add_epi16(_pair_sums(Sse2::load(top)), _pair_sums(Sse2::load(bottom))), 2);
}

// The same of eight pairs in two rows: four pairs of words.
__m128i _half_pairs(const uint8_t* top, const uint8_t* bottom)
{
    const Sse2::TwoWords a = Sse2::widened(Sse2::load(top)), b = Sse2::widened(Sse2::load(bottom));
    const __m128 low = _mm_castsi128_ps(__m128i(a.first + b.first));
    const __m128 high = _mm_castsi128_ps(__m128i(a.second + b.second));
    const __m128i even = _mm_castps_si128(_mm_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0)));
    const __m128i odd = _mm_castps_si128(_mm_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1)));
    return _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(even, odd), _mm_set1_epi16(2)), 2);
}

}  // namespace

void half_gray_row(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width)
{
    int32_t x = 0;
    for (; x + kStep <= dst_width; x += kStep) {
        const __m128i means = _mm_packus_epi16(_half(top + 2 * x, bottom + 2 * x),
                                               _half(top + 2 * x + kStep, bottom + 2 * x + kStep));
        Sse2::store(dst + x, means);
    }
    scalar::half_gray_row(dst + x, top + 2 * x, bottom + 2 * x, dst_width - x);
}

void half_pairs_row(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t pairs)
{
    constexpr int32_t kPairs = kStep / 2;
    int32_t x = 0;
    for (; x + kPairs <= pairs; x += kPairs) {
        const __m128i means = _mm_packus_epi16(_half_pairs(top + 4 * x, bottom + 4 * x),
                                               _half_pairs(top + 4 * x + kStep, bottom + 4 * x + kStep));
        Sse2::store(dst + 2 * x, means);
    }
    scalar::half_pairs_row(dst + 2 * x, top + 4 * x, bottom + 4 * x, pairs - x);
}

void yuyv_luma_row(uint8_t* dst, const uint8_t* src, int32_t dst_width)
{
    int32_t x = 0;
    // A vector also reads the byte after its last luma byte, which may be beyond the row: the
    // scalar function takes the last pixel.
    for (; x + kStep < dst_width; x += kStep) {
        const __m128i luma =
            _mm_packus_epi16(_even(Sse2::load(src + 2 * x)), _even(Sse2::load(src + 2 * x + kStep)));
        Sse2::store(dst + x, luma);
    }
    scalar::yuyv_luma_row(dst + x, src + 2 * x, dst_width - x);
}

}  // namespace ozr::kernels::sse2
