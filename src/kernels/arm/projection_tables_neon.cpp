// Projection tables, NEON: the 8 pixels of a block in a vector of bytes.
#include <arm_neon.h>
#include <stddef.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/project.h"
#include "kernels/projection_block.h"

namespace ozr::kernels::neon
{

namespace
{

int32_t _least(int32x4_t low, int32x4_t high)
{
    const int32x4_t least = vminq_s32(low, high);
    const int32x2_t two = vmin_s32(vget_low_s32(least), vget_high_s32(least));
    return vget_lane_s32(vpmin_s32(two, two), 0);
}

// Those beyond the reach of the patch become 255, far from every tent.
uint8x8_t _behind(int32x4_t low, int32x4_t high, int32_t base)
{
    const int32x4_t first = vdupq_n_s32(base);
    const uint16x8_t behind =
        vcombine_u16(vqmovun_s32(vsubq_s32(low, first)), vqmovun_s32(vsubq_s32(high, first)));
    const uint8x8_t bytes = vqmovn_u16(behind);
    return vorr_u8(bytes, vcgt_u8(bytes, vdup_n_u8(kPatchReach)));
}

uint8x8_t _tent(uint8x8_t behind, int32_t i)
{
    return vqsub_u8(vdup_n_u8(kPixel), vabd_u8(behind, vdup_n_u8(static_cast<uint8_t>(kPixel * i))));
}

void _fill_weights(uint16_t* weights, uint8x8_t behind, const uint8_t* columns)
{
    const uint8x8x2_t first = vld2_u8(columns);
    const uint8x8x2_t second = vld2_u8(columns + 2 * kBlock);
    unrolled<kPatch>([&](int32_t i) OZR_INLINED_STEP {
        const uint8x8_t tent = _tent(behind, i);
        uint16_t* out = &weights[ptrdiff_t{kPatch} * kBlock * i];
        vst1q_u16(out, vmull_u8(tent, first.val[0]));
        vst1q_u16(out + kBlock, vmull_u8(tent, first.val[1]));
        vst1q_u16(out + ptrdiff_t{2} * kBlock, vmull_u8(tent, second.val[0]));
        vst1q_u16(out + ptrdiff_t{3} * kBlock, vmull_u8(tent, second.val[1]));
    });
}

}  // namespace

void projection_tables_row(const ProjectionRowOut& out, const int32_t* positions,
                           const ProjectionColumns& columns, int32_t blocks)
{
    for (int32_t b = 0; b < blocks; ++b, positions += kBlock) {
        const int32x4_t low = vld1q_s32(positions);
        const int32x4_t high = vld1q_s32(positions + kBlock / 2);
        const int32_t base = _least(low, high) & -kPixel;
        out.offsets[b] = (base >> kFracBits) * columns.stride + columns.bases[b];
        const uint8x8_t behind = _behind(low, high, base);
        vst1_u8(out.rows + ptrdiff_t{kBlock} * b, behind);
        _fill_weights(out.weights + ptrdiff_t{kBlockWeights} * b, behind,
                      columns.weights + ptrdiff_t{kColumnWeights} * b);
    }
}

}  // namespace ozr::kernels::neon
