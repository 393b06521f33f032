// What a projection is made from, SSE2: the 8 pixels of a block in 8 lanes of 16 bits.
#include <emmintrin.h>
#include <stddef.h>

#include "kernels/project.h"
#include "kernels/projection_block.h"
#include "kernels/x86/projection_curves.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

struct CurvesSse2 : Sse2 {
    static Ints all_ints(int32_t value) { return Ints(_mm_set1_epi32(value)); }
    static Vector lesser_ints(Ints a, Ints b)
    {
        const Ints b_is_less = a > b;
        return Vector((b_is_less & b) | (~b_is_less & a));
    }

    // Lanes beyond the reach of a patch become 255 or more, far from every tent.
    static Words limited(Words behind)
    {
        return behind | ((behind > all_words(kPatchReach)) & all_words(255));
    }

    // The row below the centre, then that above.
    static __m128i limited_rows(const Ints* values, int32_t least, int32_t most)
    {
        const Words from_least = pack(values[0] - all_ints(least), values[1] - all_ints(least));
        const Words to_most = pack(all_ints(most) - values[0], all_ints(most) - values[1]);
        return pack(limited(from_least), limited(to_most));
    }

    static __m128i reversed(__m128i halves)
    {
        const __m128i words = _mm_or_si128(_mm_slli_epi16(halves, 8), _mm_srli_epi16(halves, 8));
        constexpr int32_t kReverse = _MM_SHUFFLE(0, 1, 2, 3);
        return _mm_shufflehi_epi16(_mm_shufflelo_epi16(words, kReverse), kReverse);
    }

    static void store_rows(const ProjectionRowPair& out, ptrdiff_t right, ptrdiff_t left, __m128i rows)
    {
        store_both(out, kBlock * left, reversed(rows));
        store_both(out, kBlock * right, rows);
    }

    static void store_both(const ProjectionRowPair& out, ptrdiff_t first, __m128i rows)
    {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out.below.rows + first), rows);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out.above.rows + first), _mm_unpackhi_epi64(rows, rows));
    }
};

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

void projection_rows_of_curves(const ProjectionRowPair& out, ProjectionCurves* curves, int32_t blocks)
{
    ProjectionCurveRows<CurvesSse2>::make_rows(out, curves, blocks);
}

void projection_weights_row(uint16_t* weights, const ProjectionRow& row, int32_t blocks)
{
    for (ptrdiff_t b = 0; b < blocks; ++b)
        _fill_weights(weights + kBlockWeights * b, __m128i(Sse2::load_words(row.rows + kBlock * b)),
                      row.columns + kColumnWeights * b);
}

}  // namespace ozr::kernels::sse2
