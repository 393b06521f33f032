// What a projection is made from, NEON: the columns of a block in two vectors.
#include <arm_neon.h>
#include <stddef.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/project.h"
#include "kernels/projection_block.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kLanes = 4;

struct Values {
    int32x4_t first;
    int32x4_t last;
};

// Limited to a byte, as far as that tells what is in reach.
uint8x8_t _bytes(int32x4_t first, int32x4_t last)
{
    return vqmovn_u16(vcombine_u16(vqmovun_s32(first), vqmovun_s32(last)));
}

// Columns i and following.
void _advance(ProjectionCurves* curves, int32_t i, int32x4_t values, int32x4_t farthest)
{
    const int32x4_t divisors = vld1q_s32(curves->divisors + i);
    const int32x4_t rests = vaddq_s32(vld1q_s32(curves->rests + i), vld1q_s32(curves->step_rests + i));
    const int32x4_t carried = vreinterpretq_s32_u32(vcgeq_s32(rests, divisors));  // -1 where so
    vst1q_s32(curves->rests + i, vsubq_s32(rests, vandq_s32(divisors, carried)));
    const int32x4_t next = vsubq_s32(vaddq_s32(values, vld1q_s32(curves->steps + i)), carried);
    vst1q_s32(curves->values + i, vminq_s32(next, farthest));
}

// What both rows of a block and of its mirror image have in common.
struct Rows {
    uint8x8_t below;
    uint8x8_t above;
};

Rows _rows(const Values& values, int32_t least, int32_t most)
{
    const int32x4_t from = vdupq_n_s32(kPixel * least);
    const int32x4_t to = vdupq_n_s32(kPixel * most);
    const uint8x16_t rows = vcombine_u8(_bytes(vsubq_s32(values.first, from), vsubq_s32(values.last, from)),
                                        _bytes(vsubq_s32(to, values.first), vsubq_s32(to, values.last)));
    const uint8x16_t limited = vorrq_u8(rows, vcgtq_u8(rows, vdupq_n_u8(kPatchReach)));
    return {vget_low_u8(limited), vget_high_u8(limited)};
}

// Two blocks that mirror each other.
struct Mirrored {
    ptrdiff_t right;
    ptrdiff_t left;
};

// A call would cost more than the work.
OZR_INLINED void _store(const ProjectionRowOut& out, const int32_t* bases, int32_t line_offset,
                        uint8x8_t rows, Mirrored blocks)
{
    out.offsets[blocks.right] = line_offset + bases[blocks.right];
    out.offsets[blocks.left] = line_offset + bases[blocks.left];
    vst1_u8(out.rows + kBlock * blocks.right, rows);
    vst1_u8(out.rows + kBlock * blocks.left, vrev64_u8(rows));
}

uint8x8_t _tent(uint8x8_t behind, int32_t i)
{
    return vqsub_u8(vdup_n_u8(kPixel), vabd_u8(behind, vdup_n_u8(static_cast<uint8_t>(kPixel * i))));
}

}  // namespace

void projection_rows_of_curves(const ProjectionRowPair& out, ProjectionCurves* curves, int32_t blocks)
{
    const ProjectionRowPair pair = out;  // a copy, which no store below can change
    const int32x4_t farthest = vdupq_n_s32(pair.farthest);
    for (ptrdiff_t right = blocks / 2, left = (blocks - 1) / 2; right < blocks; ++right, --left, ++curves) {
        const int32_t* v = curves->values;
        const int32_t least = (v[0] < v[kBlock / 2] ? v[0] : v[kBlock / 2]) >> kFracBits;
        const int32_t most = (v[kBlock - 1] + kPixel - 1) >> kFracBits;
        const Values values = {vld1q_s32(v), vld1q_s32(v + kLanes)};
        const Rows rows = _rows(values, least, most);
        _store(pair.below, pair.bases, (pair.centre + least) * pair.stride, rows.below, {right, left});
        _store(pair.above, pair.bases, (pair.centre - 1 - most) * pair.stride, rows.above, {right, left});
        _advance(curves, 0, values.first, farthest);
        _advance(curves, kLanes, values.last, farthest);
    }
}

void projection_weights_row(uint16_t* weights, const ProjectionRow& row, int32_t blocks)
{
    for (ptrdiff_t b = 0; b < blocks; ++b, weights += kBlockWeights) {
        const uint8x8_t behind = vld1_u8(row.rows + kBlock * b);
        const uint8x8x2_t first = vld2_u8(row.columns + kColumnWeights * b);
        const uint8x8x2_t second = vld2_u8(row.columns + kColumnWeights * b + 2 * kBlock);
        unrolled<kPatch>([&](int32_t i) OZR_INLINED_STEP {
            const uint8x8_t tent = _tent(behind, i);
            uint16_t* const out = weights + kPatch * kBlock * i;
            vst1q_u16(out, vmull_u8(tent, first.val[0]));
            vst1q_u16(out + kBlock, vmull_u8(tent, first.val[1]));
            vst1q_u16(out + 2 * kBlock, vmull_u8(tent, second.val[0]));
            vst1q_u16(out + 3 * kBlock, vmull_u8(tent, second.val[1]));
        });
    }
}

}  // namespace ozr::kernels::neon
