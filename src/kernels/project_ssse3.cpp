// Projection, SSSE3: from the factors of the weights. A source row is weighed column by column with byte products, which
// give at most 255 * 16, and the sums then by rows: 255 * 256 and the rounding fit unsigned 16 bits.
#include <stddef.h>
#include <tmmintrin.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"
#include "projection_block.h"

namespace
{

constexpr int32_t kLoad = 16;  // bytes read of a source row, of which the patches cover 11

__m128i _load(const void* src)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(src));
}

struct ColumnWeights {
    __m128i first_two;
    __m128i last_two;
};

// One source row under the column weights.
__m128i _weighed_row(const uint8_t* src, const ColumnWeights& columns)
{
    const __m128i bytes = _load(src);
    const __m128i pairs01 =
        _mm_shuffle_epi8(bytes, _mm_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8));
    const __m128i pairs23 =
        _mm_shuffle_epi8(bytes, _mm_setr_epi8(2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10));
    return _mm_add_epi16(_mm_maddubs_epi16(pairs01, columns.first_two),
                         _mm_maddubs_epi16(pairs23, columns.last_two));
}

// Source row i of every pixel, times its row weight.
__m128i _row_part(const uint8_t* src, const ColumnWeights& columns, __m128i behind, int32_t i)
{
    const __m128i peak = _mm_set1_epi16(static_cast<short>(kPixel * i));
    const __m128i distance = _mm_abs_epi16(_mm_sub_epi16(behind, peak));
    const __m128i weight = _mm_subs_epu16(_mm_set1_epi16(kPixel), distance);
    return _mm_mullo_epi16(_weighed_row(src, columns), weight);
}

void _project_block(uint8_t* dst, const uint8_t* src, ptrdiff_t stride, const uint8_t* columns,
                    const uint8_t* rows)
{
    const ColumnWeights weights = {_load(columns), _load(columns + 2 * kBlock)};
    const __m128i behind =
        _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(rows)), _mm_setzero_si128());
    __m128i sum = _mm_add_epi16(_mm_set1_epi16(128), _row_part(src, weights, behind, 0));
    sum = _mm_add_epi16(sum, _row_part(src + stride, weights, behind, 1));
    sum = _mm_add_epi16(sum, _row_part(src + 2 * stride, weights, behind, 2));
    // Neighbouring pixels lie at nearly one height: the last row of the patches is seldom reached.
    if (_mm_movemask_epi8(_mm_cmpgt_epi16(behind, _mm_set1_epi16(2 * kPixel))) != 0)
        sum = _mm_add_epi16(sum, _row_part(src + 3 * stride, weights, behind, 3));
    const __m128i pixels = _mm_srli_epi16(sum, 8);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm_packus_epi16(pixels, pixels));
}

}  // namespace

void project_luma_row_ssse3(uint8_t* dst, const uint8_t* src, int64_t src_bytes, int32_t stride,
                            const OzrProjectionRow& row, int32_t blocks)
{
    const int64_t last_offset = src_bytes - (kPatch - 1) * int64_t{stride} - kLoad;
    for (int32_t b = 0; b < blocks; ++b, dst += kBlock) {
        const int32_t offset = row.offsets[b];
        if (offset >= 0 && offset <= last_offset)
            _project_block(dst, src + offset, stride, row.columns + ptrdiff_t{kColumnWeights} * b,
                           row.rows + ptrdiff_t{kBlock} * b);
        else
            project_luma_block_scalar(dst, src, stride, row, b);
    }
}
