#include "kernels/align.h"
#include "kernels/x86/correlation.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

namespace
{

using Sums = Avx2::Sums;

constexpr int32_t kPixels = 16;  // at a time

// Prefix sums of each half's 8 pixels: at most 8 * 255.
__m256i _prefix(__m256i pixels)
{
    pixels = _mm256_add_epi16(pixels, _mm256_slli_si256(pixels, 2));
    pixels = _mm256_add_epi16(pixels, _mm256_slli_si256(pixels, 4));
    return _mm256_add_epi16(pixels, _mm256_slli_si256(pixels, 8));
}

Sums _all_of_last(Sums sums)
{
    return Sums(_mm256_permutevar8x32_epi32(__m256i(sums), _mm256_set1_epi32(7)));
}

}  // namespace

void integral_row(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width)
{
    Sums before = {};  // the sum of the pixels so far, in every lane
    int32_t x = 0;
    for (; x + kPixels <= width; x += kPixels) {
        const __m256i sums = _prefix(__m256i(Avx2::load_words(pixels + x)));
        Sums first = Sums(_mm256_cvtepu16_epi32(_mm256_castsi256_si128(sums)));
        Sums second = Sums(_mm256_cvtepu16_epi32(_mm256_extracti128_si256(sums, 1))) + _all_of_last(first);
        const Sums total = _all_of_last(second);
        first += before;
        second += before;
        before += total;
        if (above != nullptr) {
            first += Sums(Avx2::load(above + x));
            second += Sums(Avx2::load(above + x + kPixels / 2));
        }
        Avx2::store(out + x, __m256i(first));
        Avx2::store(out + x + kPixels / 2, __m256i(second));
    }
    scalar::integral_rest(out + x, above != nullptr ? above + x : nullptr, pixels + x, width - x, before[0]);
}

CorrelationSums correlate_areas(const AreaPair& areas, int32_t shift)
{
    if (areas.columns < 2 * Correlation<Avx2>::kStep)
        return sse2::correlate_areas(areas, shift);
    return Correlation<Avx2>::of_areas(areas, shift);
}

}  // namespace ozr::kernels::avx2
