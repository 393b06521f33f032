// Projection, SSE2: the 8 pixels of a block in 8 lanes of 16 bits. Streaming the 256 bytes of weights a block from
// memory is the bound, so there is one pass over them, no test of each group, and they are asked for ahead of time: the
// processor's own prefetching does not keep up.
#include <emmintrin.h>
#include <stddef.h>
#include <stdint.h>

#include "base/prefetch.h"
#include "kernels/project.h"
#include "kernels/projection_block.h"

namespace ozr::kernels::sse2
{

namespace
{

constexpr ptrdiff_t kBlockBytes = kBlockWeights * sizeof(uint16_t);
constexpr ptrdiff_t kAhead = 8 * kBlockBytes;

__m128i _weighed(const uint8_t* src, const uint16_t* weights)
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src));
    const __m128i pixels = _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
    return _mm_mullo_epi16(pixels, _mm_loadu_si128(reinterpret_cast<const __m128i*>(weights)));
}

__m128i _weighed_row(const uint8_t* src, const uint16_t* weights)
{
    const __m128i left = _mm_add_epi16(_weighed(src, weights), _weighed(src + 1, weights + kBlock));
    const __m128i right =
        _mm_add_epi16(_weighed(src + 2, weights + 2 * kBlock), _weighed(src + 3, weights + 3 * kBlock));
    return _mm_add_epi16(left, right);
}

// A lane holds at most 255 * 256 + 128 = 65 408: unsigned 16 bits.
void _project_block(uint8_t* dst, const uint8_t* src, ptrdiff_t stride, const uint16_t* weights)
{
    constexpr int32_t kRow = kPatch * kBlock;
    const __m128i upper =
        _mm_add_epi16(_weighed_row(src, weights), _weighed_row(src + stride, weights + kRow));
    const __m128i lower = _mm_add_epi16(_weighed_row(src + 2 * stride, weights + 2 * kRow),
                                        _weighed_row(src + 3 * stride, weights + 3 * kRow));
    const __m128i sum = _mm_add_epi16(_mm_add_epi16(upper, lower), _mm_set1_epi16(128));
    const __m128i pixels = _mm_srli_epi16(sum, 8);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm_packus_epi16(pixels, pixels));
}

}  // namespace

void project_luma_row(uint8_t* dst, const uint8_t* src, int64_t src_bytes, int32_t stride,
                      const ProjectionRow& row, int32_t blocks)
{
    const int64_t last_offset = src_bytes - (kPatch - 1) * int64_t{stride} - kPatchBytes;
    const uint16_t* weights = row.weights;
    for (int32_t b = 0; b < blocks; ++b, dst += kBlock, weights += kBlockWeights) {
        const int32_t offset = row.offsets[b];
        prefetch_bytes(weights, kAhead, kBlockBytes);
        if (offset >= 0 && offset <= last_offset)
            _project_block(dst, src + offset, stride, weights);
        else
            scalar::project_luma_block(dst, src, stride, row, b);
    }
}

}  // namespace ozr::kernels::sse2
