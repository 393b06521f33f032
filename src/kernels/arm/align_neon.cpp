// Integral images and correlations, NEON, 16 columns at a time.
#include <arm_neon.h>
#include <stddef.h>

#include "kernels/align.h"
#include "kernels/arm/vectors_neon.h"
#include "kernels/last_lanes.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kStep = 16;  // columns

struct Words {
    int16x8_t low;
    int16x8_t high;
};

// The mean less the pixels: with both areas' signs changed, the products are the same.
Words _below_mean(const uint8_t* pixels, int16x8_t mean)
{
    const uint8x16_t bytes = vld1q_u8(pixels);
    const uint16x8_t from = vreinterpretq_u16_s16(mean);
    return {vreinterpretq_s16_u16(vsubw_u8(from, vget_low_u8(bytes))),
            vreinterpretq_s16_u16(vsubw_u8(from, vget_high_u8(bytes)))};
}

Words _of_lanes(Words words, const Words& lanes)
{
    return {vandq_s16(words.low, lanes.low), vandq_s16(words.high, lanes.high)};
}

int32x4_t _add_products(int32x4_t sums, const Words& a, const Words& b)
{
    sums = vmlal_s16(sums, vget_low_s16(a.low), vget_low_s16(b.low));
    sums = vmlal_s16(sums, vget_high_s16(a.low), vget_high_s16(b.low));
    sums = vmlal_s16(sums, vget_low_s16(a.high), vget_low_s16(b.high));
    return vmlal_s16(sums, vget_high_s16(a.high), vget_high_s16(b.high));
}

// Sums of one run. Pixels less their mean lie within -255 and 255, so a 32-bit lane has room for
// 33 000 products; a half row gives it a quarter of its columns.
struct Sums {
    int32x4_t aa = vdupq_n_s32(0);
    int32x4_t bb = vdupq_n_s32(0);
    int32x4_t ab = vdupq_n_s32(0);

    void add(const Words& a, const Words& b)
    {
        aa = _add_products(aa, a, a);
        bb = _add_products(bb, b, b);
        ab = _add_products(ab, a, b);
    }

    // The totals of a^2, b^2 and a b, in this order.
    int32x4_t totals() const { return neighbours_added(neighbours_added(aa, bb), neighbours_added(ab, ab)); }
};

// A half row: its columns, kStep or more, and the lanes of its last step that the one before
// has not counted.
struct Run {
    int32_t columns;
    Words fresh;
};

Run _run(int32_t columns)
{
    const uint8x16_t fresh = vld1q_u8(last_lanes(kStep, columns % kStep));
    const int8x16_t lanes = vreinterpretq_s8_u8(fresh);
    return {columns, {vmovl_s8(vget_low_s8(lanes)), vmovl_s8(vget_high_s8(lanes))}};
}

int32x4_t _of_run(const uint8_t* a, const uint8_t* b, const Run& run, int16x8_t a_mean, int16x8_t b_mean)
{
    Sums sums;
    const int32_t last = run.columns - kStep;
    for (int32_t x = 0; x <= last; x += kStep)
        sums.add(_below_mean(a + x, a_mean), _below_mean(b + x, b_mean));
    sums.add(_of_lanes(_below_mean(a + last, a_mean), run.fresh),
             _of_lanes(_below_mean(b + last, b_mean), run.fresh));
    return sums.totals();
}

// Sums of the pixels 0, 0 to 1, ... 0 to 15: at most 16 * 255.
struct Prefixes {
    uint16x8_t low;
    uint16x8_t high;
};

Prefixes _prefixes(uint8x16_t pixels)
{
    const uint16x8_t zero = vdupq_n_u16(0);
    const uint8x16_t before = vextq_u8(vdupq_n_u8(0), pixels, 15);
    uint16x8_t low = vaddl_u8(vget_low_u8(pixels), vget_low_u8(before));
    uint16x8_t high = vaddl_u8(vget_high_u8(pixels), vget_high_u8(before));
    high = vaddq_u16(high, vextq_u16(low, high, 6));
    low = vaddq_u16(low, vextq_u16(zero, low, 6));
    high = vaddq_u16(high, vextq_u16(low, high, 4));
    low = vaddq_u16(low, vextq_u16(zero, low, 4));
    return {low, vaddq_u16(high, low)};
}

template <bool kHasAbove>
void _integral_row(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width)
{
    uint32x4_t row_sum = vdupq_n_u32(0);
    int32_t x = 0;
    for (; x <= width - kStep; x += kStep) {
        const Prefixes sums = _prefixes(vld1q_u8(pixels + x));
        uint32x4_t parts[4] = {
            vaddw_u16(row_sum, vget_low_u16(sums.low)), vaddw_u16(row_sum, vget_high_u16(sums.low)),
            vaddw_u16(row_sum, vget_low_u16(sums.high)), vaddw_u16(row_sum, vget_high_u16(sums.high))};
        row_sum = vdupq_lane_u32(vget_high_u32(parts[3]), 1);
        unrolled<4>([&](int32_t i) {
            const ptrdiff_t at = x + 4 * i;
            vst1q_u32(out + at, kHasAbove ? vaddq_u32(parts[i], vld1q_u32(above + at)) : parts[i]);
        });
    }
    scalar::integral_rest(out + x, kHasAbove ? above + x : nullptr, pixels + x, width - x,
                          vgetq_lane_u32(row_sum, 0));
}

}  // namespace

void integral_row(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width)
{
    if (above != nullptr)
        _integral_row<true>(out, above, pixels, width);
    else
        _integral_row<false>(out, above, pixels, width);
}

CorrelationSums correlate_areas(const AreaPair& areas, int32_t shift)
{
    if (areas.columns < 2 * kStep)
        return scalar::correlate_areas(areas, shift);
    const int32_t half = areas.columns >> 1;
    const int16x8_t a_mean = vdupq_n_s16(static_cast<int16_t>(areas.a_mean));
    const int16x8_t b_mean = vdupq_n_s16(static_cast<int16_t>(areas.b_mean));
    const Run left = _run(half);
    const Run right = _run(areas.columns - half);
    const int32x4_t bits = vdupq_n_s32(-shift);  // to the right
    int32x4_t totals = vdupq_n_s32(0);
    for (int32_t y = 0; y < areas.rows; ++y) {
        const uint8_t* a = areas.a + static_cast<ptrdiff_t>(y) * areas.a_stride;
        const uint8_t* b = areas.b + static_cast<ptrdiff_t>(y) * areas.b_stride;
        totals = vaddq_s32(totals, vshlq_s32(_of_run(a, b, left, a_mean, b_mean), bits));
        totals = vaddq_s32(totals, vshlq_s32(_of_run(a + half, b + half, right, a_mean, b_mean), bits));
    }
    return {vgetq_lane_s32(totals, 0), vgetq_lane_s32(totals, 1), vgetq_lane_s32(totals, 2)};
}

}  // namespace ozr::kernels::neon
