#include "kernels/align.h"
#include "kernels/x86/correlation.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

// Prefix sums: lane i is the sum of the pixels 0 to i, at most 8 * 255.
__m128i _prefix(__m128i pixels)
{
    pixels = _mm_add_epi16(pixels, _mm_slli_si128(pixels, 2));
    pixels = _mm_add_epi16(pixels, _mm_slli_si128(pixels, 4));
    return _mm_add_epi16(pixels, _mm_slli_si128(pixels, 8));
}

}  // namespace

CorrelationSums correlate_areas(const AreaPair& areas, int32_t shift)
{
    using Narrow = Correlation<Sse2, 8>;
    if (areas.columns < 2 * Narrow::kStep)
        return scalar::correlate_areas(areas, shift);
    if (areas.columns < 2 * Correlation<Sse2>::kStep)
        return Narrow::of_areas(areas, shift);
    return Correlation<Sse2>::of_areas(areas, shift);
}

void integral_row(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width)
{
    constexpr int32_t kPixels = 8;
    const __m128i zero = _mm_setzero_si128();
    uint32_t row_sum = 0;
    int32_t x = 0;
    for (; x + kPixels <= width; x += kPixels) {
        const __m128i sums = _prefix(__m128i(Sse2::load_words(pixels + x)));
        const __m128i before = _mm_set1_epi32(static_cast<int32_t>(row_sum));
        __m128i low = _mm_add_epi32(_mm_unpacklo_epi16(sums, zero), before);
        __m128i high = _mm_add_epi32(_mm_unpackhi_epi16(sums, zero), before);
        row_sum += static_cast<uint32_t>(_mm_extract_epi16(sums, kPixels - 1));
        if (above != nullptr) {
            low = _mm_add_epi32(low, Sse2::load(above + x));
            high = _mm_add_epi32(high, Sse2::load(above + x + kPixels / 2));
        }
        Sse2::store(out + x, low);
        Sse2::store(out + x + kPixels / 2, high);
    }
    scalar::integral_rest(out + x, above != nullptr ? above + x : nullptr, pixels + x, width - x, row_sum);
}

}  // namespace ozr::kernels::sse2
