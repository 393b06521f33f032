#include <stddef.h>
#include <string.h>

#include "kernels/project.h"
#include "kernels/projection_block.h"

namespace ozr::kernels::scalar
{

namespace
{

uint8_t _project_pixel(const uint8_t* src, ptrdiff_t patch, ptrdiff_t stride, const uint16_t* weights)
{
    uint32_t sum = 128;
    for (int32_t i = 0; i < kPatch; ++i) {
        for (int32_t j = 0; j < kPatch; ++j) {
            const uint32_t weight = weights[(kPatch * i + j) * kBlock];
            if (weight != 0)
                sum += src[patch + i * stride + j] * weight;
        }
    }
    return static_cast<uint8_t>(sum >> 8);
}

}  // namespace

void project_luma_block(uint8_t* dst, const uint8_t* src, int32_t stride, const ProjectionRow& row,
                        int32_t block)
{
    const uint16_t* weights = row.weights + ptrdiff_t{kBlockWeights} * block;
    for (int32_t k = 0; k < kBlock; ++k)
        dst[k] = _project_pixel(src, ptrdiff_t{row.offsets[block]} + k, stride, weights + k);
}

void project_luma_row(uint8_t* dst, const uint8_t* src, int64_t, int32_t stride, const ProjectionRow& row,
                      int32_t blocks)
{
    for (int32_t b = 0; b < blocks; ++b)
        project_luma_block(dst + ptrdiff_t{kBlock} * b, src, stride, row, b);
}

void project_chroma_row(uint8_t* dst, const uint8_t* src, const int32_t* map, int32_t pairs)
{
    for (int32_t p = 0; p < pairs; ++p)
        memcpy(dst + ptrdiff_t{2} * p, src + ptrdiff_t{2} * map[p], 2);
}

}  // namespace ozr::kernels::scalar
