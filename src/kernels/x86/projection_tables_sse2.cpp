// Projection tables, SSE2: the 8 pixels of a block in 8 lanes of 16 bits.
#include <emmintrin.h>
#include <stddef.h>

#include "kernels/project.h"
#include "kernels/projection_block.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

__m128i _min(__m128i a, __m128i b)
{
    const __m128i b_is_less = _mm_cmpgt_epi32(a, b);
    return _mm_or_si128(_mm_and_si128(b_is_less, b), _mm_andnot_si128(b_is_less, a));
}

int32_t _least(__m128i low, __m128i high)
{
    __m128i least = _min(low, high);
    least = _min(least, _mm_shuffle_epi32(least, _MM_SHUFFLE(1, 0, 3, 2)));
    least = _min(least, _mm_shuffle_epi32(least, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(least);
}

// Lanes beyond the reach of the patch become 255 or more, far from every tent.
__m128i _behind(__m128i low, __m128i high, int32_t base)
{
    const __m128i first = _mm_set1_epi32(base);
    const __m128i behind = _mm_packs_epi32(_mm_sub_epi32(low, first), _mm_sub_epi32(high, first));
    const __m128i beyond = _mm_cmpgt_epi16(behind, _mm_set1_epi16(kPatchReach));
    return _mm_or_si128(behind, _mm_and_si128(beyond, _mm_set1_epi16(255)));
}

__m128i _tent(__m128i behind, int32_t i)
{
    const __m128i from_peak = _mm_sub_epi16(behind, _mm_set1_epi16(static_cast<short>(kPixel * i)));
    const __m128i distance = _mm_max_epi16(from_peak, _mm_sub_epi16(_mm_setzero_si128(), from_peak));
    return _mm_subs_epu16(_mm_set1_epi16(kPixel), distance);
}

void _fill_weights(uint16_t* weights, __m128i behind, const uint8_t* columns)
{
    const __m128i low_bytes = _mm_set1_epi16(0x00FF);
    const __m128i pairs01 = Sse2::load(columns);
    const __m128i pairs23 = Sse2::load(columns + 2 * kBlock);
    const __m128i column[kPatch] = {_mm_and_si128(pairs01, low_bytes), _mm_srli_epi16(pairs01, 8),
                                    _mm_and_si128(pairs23, low_bytes), _mm_srli_epi16(pairs23, 8)};
    __m128i* out = reinterpret_cast<__m128i*>(weights);
    for (int32_t i = 0; i < kPatch; ++i) {
        const __m128i row = _tent(behind, i);
        for (int32_t j = 0; j < kPatch; ++j)
            _mm_storeu_si128(out++, _mm_mullo_epi16(row, column[j]));
    }
}

}  // namespace

void projection_tables_row(const ProjectionRowOut& out, const int32_t* positions,
                           const ProjectionColumns& columns, int32_t blocks)
{
    for (int32_t b = 0; b < blocks; ++b, positions += kBlock) {
        const __m128i low = Sse2::load(positions);
        const __m128i high = Sse2::load(positions + kBlock / 2);
        const int32_t base = _least(low, high) & -kPixel;
        out.offsets[b] = (base >> kFracBits) * columns.stride + columns.bases[b];
        const __m128i behind = _behind(low, high, base);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out.rows + ptrdiff_t{kBlock} * b),
                         _mm_packus_epi16(behind, behind));
        _fill_weights(out.weights + ptrdiff_t{kBlockWeights} * b, behind,
                      columns.weights + ptrdiff_t{kColumnWeights} * b);
    }
}

}  // namespace ozr::kernels::sse2
