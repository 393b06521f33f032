#include "kernels/project.h"

#include <stddef.h>
#include <string.h>

#include "kernels/projection_block.h"

namespace ozr::kernels::scalar
{

namespace
{

// Bytes of one source row under the column weights of a pixel. `columns` are those of its
// first two columns.
uint32_t _weighed(const uint8_t* src, ptrdiff_t at, const uint8_t* columns)
{
    uint32_t sum = 0;
    for (int32_t j = 0; j < kPatch; ++j) {
        const uint32_t weight = columns[j % 2 + 2 * kBlock * (j / 2)];
        if (weight != 0)
            sum += src[at + j] * weight;
    }
    return sum;
}

// Of the four rows of a patch, the weights of two at most are not 0.
uint8_t _project_pixel(const uint8_t* src, ptrdiff_t patch, ptrdiff_t stride, const uint8_t* columns,
                       int32_t behind)
{
    uint32_t sum = 128;
    if (behind > kPatchReach)
        return static_cast<uint8_t>(sum >> 8);
    const ptrdiff_t upper = patch + (behind >> kFracBits) * stride;
    const uint32_t fraction = static_cast<uint32_t>(behind) % kPixel;
    sum += _weighed(src, upper, columns) * (kPixel - fraction);
    if (fraction != 0)
        sum += _weighed(src, upper + stride, columns) * fraction;
    return static_cast<uint8_t>(sum >> 8);
}

}  // namespace

void project_luma_row(uint8_t* dst, const ProjectionSource& src, const ProjectionRow& row, int32_t blocks)
{
    const ProjectionSource from = src;  // a copy, which no store below can change
    for (int32_t b = 0; b < blocks; ++b) {
        const uint8_t* columns = row.columns + ptrdiff_t{kColumnWeights} * b;
        const ptrdiff_t first = ptrdiff_t{kBlock} * b;
        const ptrdiff_t offset = row.offsets[b];
        for (int32_t k = 0; k < kBlock; ++k)
            dst[first + k] = _project_pixel(from.data, offset + k, from.stride, columns + ptrdiff_t{2} * k,
                                            row.rows[first + k]);
    }
}

void project_chroma_block(uint8_t* dst, const uint8_t* src, const ProjectionChromaRow& row, int32_t block)
{
    const uint8_t* order = row.order + ptrdiff_t{kBlock} * block;
    const int32_t* map = row.map + ptrdiff_t{kBlockPairs} * block;
    const ptrdiff_t offset = row.offsets[block];
    for (int32_t k = 0; k < kBlockPairs; ++k)
        memcpy(dst + 2 * k, src + (offset >= 0 ? offset + order[2 * k] : ptrdiff_t{2} * map[k]), 2);
}

void project_chroma_row(uint8_t* dst, const uint8_t* src, int64_t, const ProjectionChromaRow& row,
                        int32_t blocks)
{
    for (int32_t b = 0; b < blocks; ++b, dst += kBlock)
        project_chroma_block(dst, src, row, b);
}

}  // namespace ozr::kernels::scalar
