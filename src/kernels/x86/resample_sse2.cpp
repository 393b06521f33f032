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

void yuyv_luma_row(uint8_t* dst, const uint8_t* src, int32_t dst_width)
{
    int32_t x = 0;
    // A vector also reads the byte after its last luma byte, which may be beyond the row: the scalar function takes the
    // last pixel.
    for (; x + kStep < dst_width; x += kStep) {
        const __m128i luma =
            _mm_packus_epi16(_even(Sse2::load(src + 2 * x)), _even(Sse2::load(src + 2 * x + kStep)));
        Sse2::store(dst + x, luma);
    }
    scalar::yuyv_luma_row(dst + x, src + 2 * x, dst_width - x);
}

}  // namespace ozr::kernels::sse2
