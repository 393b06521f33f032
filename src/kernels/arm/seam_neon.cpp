// Rows of seam sums, NEON, 16 columns at a time. Sums are compared by how far they lie from the one
// straight above, which fits signed 16 bits although the sums themselves wrap around.
#include <arm_neon.h>

#include "kernels/seam.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kStep = 16;  // columns
constexpr int32_t kLanes = 8;

// Which neighbour is less than the one straight above, and than what was better so far: all bits of
// a lane, or none.
struct Taken {
    uint16x8_t left;
    uint16x8_t right;
};

// Stores the sums of half of kStep columns.
Taken _sum(uint16_t* sums, const uint16_t* above, uint8x8_t costs)
{
    const uint16x8_t straight = vld1q_u16(above);
    const int16x8_t left = vreinterpretq_s16_u16(vsubq_u16(vld1q_u16(above - 1), straight));
    const int16x8_t right = vreinterpretq_s16_u16(vsubq_u16(vld1q_u16(above + 1), straight));
    const int16x8_t better = vminq_s16(left, vdupq_n_s16(0));
    const uint16x8_t least = vreinterpretq_u16_s16(vminq_s16(better, right));
    vst1q_u16(sums, vaddq_u16(vaddw_u8(straight, costs), least));
    return {vcltq_s16(left, vdupq_n_s16(0)), vcltq_s16(right, better)};
}

void _sum_columns(uint16_t* sums, int8_t* steps, const uint16_t* above, const SeamRow& row, int32_t x)
{
    const uint8x16_t costs =
        vorrq_u8(vabdq_u8(vld1q_u8(row.a + x), vld1q_u8(row.b + x)), vld1q_u8(row.mask + x));
    const Taken low = _sum(sums + x, above + x, vget_low_u8(costs));
    const Taken high = _sum(sums + x + kLanes, above + x + kLanes, vget_high_u8(costs));
    const uint8x16_t left = vcombine_u8(vmovn_u16(low.left), vmovn_u16(high.left));
    const uint8x16_t right = vcombine_u8(vmovn_u16(low.right), vmovn_u16(high.right));
    vst1q_s8(steps + x, vreinterpretq_s8_u8(vsubq_u8(vbicq_u8(left, right), right)));
}

}  // namespace

void seam_sum_row(uint16_t* sums, int8_t* steps, const uint16_t* above, const SeamRow& r)
{
    const SeamRow row = r;              // a copy, which no store below can change
    const int32_t end = row.width - 1;  // the outer columns lack a neighbour
    if (end - 1 < kStep) {
        scalar::seam_sum_row(sums, steps, above, row);
        return;
    }
    for (int32_t x = 1; x < end - kStep; x += kStep)
        _sum_columns(sums, steps, above, row, x);
    _sum_columns(sums, steps, above, row, end - kStep);  // in part once more
    scalar::seam_sum_columns(sums, steps, above, row, {0, 1});
    scalar::seam_sum_columns(sums, steps, above, row, {end, row.width});
}

}  // namespace ozr::kernels::neon
