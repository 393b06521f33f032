// Projection, NEON, a block at a time. A source row is weighed column by column with byte
// products, which give at most 255 * 16, and the sums then by rows: 255 * 256 and the rounding fit
// unsigned 16 bits.
#include <arm_neon.h>
#include <stddef.h>
#include <string.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/project.h"
#include "kernels/projection_block.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kLoad = 16;  // bytes read of a source row, of which the patches cover 11

// The weights of eight pixels, those of column j in at[j].
struct Columns {
    uint8x8_t at[kPatch];
};

Columns _columns(const uint8_t* weights)
{
    const uint8x8x2_t first = vld2_u8(weights);
    const uint8x8x2_t second = vld2_u8(weights + 2 * kBlock);
    return {{first.val[0], first.val[1], second.val[0], second.val[1]}};
}

// One source row under the column weights.
uint16x8_t _weighed(const uint8_t* src, const Columns& columns)
{
    const uint8x16_t bytes = vld1q_u8(src);
    const uint8x8_t low = vget_low_u8(bytes);
    const uint8x8_t high = vget_high_u8(bytes);
    uint16x8_t sum = vmull_u8(low, columns.at[0]);
    sum = vmlal_u8(sum, vext_u8(low, high, 1), columns.at[1]);
    sum = vmlal_u8(sum, vext_u8(low, high, 2), columns.at[2]);
    return vmlal_u8(sum, vext_u8(low, high, 3), columns.at[3]);
}

// The weights of source row i.
uint16x8_t _tent(uint16x8_t behind, uint16_t i)
{
    const uint16x8_t distance = vabdq_u16(behind, vdupq_n_u16(static_cast<uint16_t>(kPixel * i)));
    return vqsubq_u16(vdupq_n_u16(kPixel), distance);
}

// Neighbouring pixels lie at nearly one height: the last two rows of the patches are seldom
// reached.
void _project_block(uint8_t* dst, const uint8_t* src, ptrdiff_t stride, const uint8_t* column_weights,
                    const uint8_t* rows)
{
    constexpr uint64_t kEach = 0x0101010101010101;
    constexpr uint64_t kBeyondFirst = kEach * (256 - kPixel), kBeyondSecond = kEach * (256 - 2 * kPixel);
    uint64_t all_rows = 0;
    memcpy(&all_rows, rows, sizeof(all_rows));
    const Columns columns = _columns(column_weights);
    const uint16x8_t behind = vmovl_u8(vld1_u8(rows));
    uint16x8_t sum = vdupq_n_u16(128);
    sum = vmlaq_u16(sum, _weighed(src, columns), _tent(behind, 0));
    sum = vmlaq_u16(sum, _weighed(src + stride, columns), _tent(behind, 1));
    if ((all_rows & kBeyondFirst) != 0)
        sum = vmlaq_u16(sum, _weighed(src + 2 * stride, columns), _tent(behind, 2));
    if ((all_rows & kBeyondSecond) != 0)
        sum = vmlaq_u16(sum, _weighed(src + 3 * stride, columns), _tent(behind, 3));
    vst1_u8(dst, vshrn_n_u16(sum, 8));
}

}  // namespace

// Blocks whose loads could leave the source go to the scalar variant.
void project_luma_row(uint8_t* dst, const ProjectionSource& src, const ProjectionRow& row, int32_t blocks)
{
    const ProjectionSource from = src;  // a copy, which no store below can change
    const int64_t last_offset = from.bytes - (kPatch - 1) * int64_t{from.stride} - kLoad;
    ProjectionRow at = row;
    for (int32_t b = 0; b < blocks; ++b, dst += kBlock) {
        const int32_t offset = *at.offsets;
        if (offset >= 0 && offset <= last_offset)
            _project_block(dst, from.data + offset, from.stride, at.columns, at.rows);
        else
            scalar::project_luma_row(dst, from, at, 1);
        at = {at.offsets + 1, at.columns + kColumnWeights, at.rows + kBlock};
    }
}

void project_chroma_row(uint8_t* dst, const uint8_t* src, int64_t src_bytes, const ProjectionChromaRow& row,
                        int32_t blocks)
{
    const int64_t last_offset = src_bytes - kLoad;
    for (ptrdiff_t b = 0; b < blocks; ++b, dst += kBlock) {
        const int32_t offset = row.offsets[b];
        if (offset >= 0 && offset <= last_offset)
            vst1_u8(dst, looked_up(vld1q_u8(src + offset), vld1_u8(row.order + kBlock * b)));
        else
            scalar::project_chroma_block(dst, src, row, static_cast<int32_t>(b));
    }
}

}  // namespace ozr::kernels::neon
