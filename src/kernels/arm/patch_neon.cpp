#include <arm_neon.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/match.h"
#include "kernels/patch_runs.h"

namespace ozr::kernels::neon
{

namespace
{

// Steps from the first sample of a run to each of them, Q16.
struct Steps {
    int32x4_t low;
    int32x4_t high;

    explicit Steps(int32_t step)
    {
        constexpr int32_t kNumbers[] = {0, 1, 2, 3, 4, 5, 6, 7};
        low = vmulq_n_s32(vld1q_s32(kNumbers), step);
        high = vmulq_n_s32(vld1q_s32(kNumbers + 4), step);
    }
    // Q8 places.
    uint16x8_t from(int32_t first) const
    {
        const int32x4_t all = vdupq_n_s32(first);
        return vreinterpretq_u16_s16(
            vcombine_s16(vshrn_n_s32(vaddq_s32(all, low), 8), vshrn_n_s32(vaddq_s32(all, high), 8)));
    }
};

// Which two of 16 pixels each sample lies between, and its weight for the second one.
struct Across {
    uint8x8_t first;
    uint8x8_t second;
    uint8x8_t weight;

    explicit Across(uint16x8_t x)
        : first(vshrn_n_u16(x, 8)), second(vadd_u8(first, vdup_n_u8(1))), weight(vmovn_u16(x))
    {
    }
    uint16x8_t of(const uint8_t* row) const
    {
        const uint8x16_t pixels = vld1q_u8(row);
        const uint8x8_t left = looked_up(pixels, first);
        const uint16x8_t whole = vmlsl_u8(vshll_n_u8(left, 8), left, weight);
        return vmlal_u8(whole, looked_up(pixels, second), weight);
    }
};

uint16x4_t _between(uint16x4_t upper, uint16x4_t lower, uint16x4_t down)
{
    const uint16x4_t up = vsub_u16(vdup_n_u16(256), down);
    return vshrn_n_u32(vmlal_u16(vmull_u16(upper, up), lower, down), 13);
}

template <int32_t kTurn>
void _sample_runs(int16_t* dst, const PatchRuns& runs, int64_t stride, const PatchPlaces& places)
{
    const Steps right(places.right_x), below(places.right_y);
    for (int32_t i = 0; i < runs.count; ++i) {
        const uint8_t* at = runs.at[i];
        const Across across(right.from(runs.x[i]));
        const uint16x8_t y = below.from(runs.y[i]), row = vshrq_n_u16(y, 8);
        uint16x8_t upper = across.of(at), lower = across.of(at + stride);
        if (kTurn > 0) {
            const uint16x8_t third = across.of(at + 2 * stride), is_second = vcgtq_u16(row, vdupq_n_u16(0));
            upper = vbslq_u16(is_second, lower, upper);
            lower = vbslq_u16(is_second, third, lower);
            if (kTurn > 1) {
                const uint16x8_t is_third = vcgtq_u16(row, vdupq_n_u16(1));
                upper = vbslq_u16(is_third, third, upper);
                lower = vbslq_u16(is_third, across.of(at + 3 * stride), lower);
            }
        }
        const uint16x8_t down = vandq_u16(y, vdupq_n_u16(255));
        vst1q_s16(dst + runs.to[i],
                  vreinterpretq_s16_u16(vcombine_u16(
                      _between(vget_low_u16(upper), vget_low_u16(lower), vget_low_u16(down)),
                      _between(vget_high_u16(upper), vget_high_u16(lower), vget_high_u16(down)))));
    }
}

}  // namespace

void sample_patch(int16_t* dst, const PatchPlane& plane, const PatchPlaces& places)
{
    if (!PatchRuns::are_fit(plane, places))
        return scalar::sample_patch(dst, plane, places);
    const PatchRuns runs(plane, places);
    switch (PatchRuns::turn_of(places)) {
    case 0:
        return _sample_runs<0>(dst, runs, plane.stride, places);
    case 1:
        return _sample_runs<1>(dst, runs, plane.stride, places);
    default:
        return _sample_runs<2>(dst, runs, plane.stride, places);
    }
}

}  // namespace ozr::kernels::neon
