// What a projection is made from, AVX2: a block's 8 pixels in 8 lanes of 32 bits.
#include <stddef.h>

#include "kernels/project.h"
#include "kernels/projection_block.h"
#include "kernels/x86/projection_curves.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

namespace
{

struct CurvesAvx2 : Avx2 {
    static Ints all_ints(int32_t value) { return Ints(_mm256_set1_epi32(value)); }
    static Vector lesser_ints(Ints a, Ints b) { return _mm256_min_epi32(Vector(a), Vector(b)); }

    // The row below the centre, then that above. The wide vectors have four pixels of each
    // in either half.
    static __m128i limited_rows(const Ints* values, int32_t least, int32_t most)
    {
        const Words behind = pack(values[0] - all_ints(least), all_ints(most) - values[0]);
        const Words limited = behind | ((behind > all_words(kPatchReach)) & all_words(255));
        const Vector rows = pack(limited, limited);
        return _mm_unpacklo_epi32(_mm256_castsi256_si128(rows), _mm256_extracti128_si256(rows, 1));
    }

    static void store_rows(const ProjectionRowPair& out, ptrdiff_t right, ptrdiff_t left, __m128i rows)
    {
        const __m128i reverse = _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
        store_both(out, kBlock * left, _mm_shuffle_epi8(rows, reverse));
        store_both(out, kBlock * right, rows);
    }

    static void store_both(const ProjectionRowPair& out, ptrdiff_t first, __m128i rows)
    {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out.below.rows + first), rows);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out.above.rows + first), _mm_unpackhi_epi64(rows, rows));
    }
};

}  // namespace

void projection_rows_of_curves(const ProjectionRowPair& out, ProjectionCurves* curves, int32_t blocks)
{
    ProjectionCurveRows<CurvesAvx2>::make_rows(out, curves, blocks);
}

}  // namespace ozr::kernels::avx2
