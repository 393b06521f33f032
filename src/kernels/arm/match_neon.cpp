#include <arm_neon.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/match.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kLanes = 8;

int32x4_t _add_products(int32x4_t sums, int16x8_t a, int16x8_t b)
{
    sums = vmlal_s16(sums, vget_low_s16(a), vget_low_s16(b));
    return vmlal_s16(sums, vget_high_s16(a), vget_high_s16(b));
}

int32_t _total(int32x4_t sums)
{
    return static_cast<int32_t>(total(vreinterpretq_u32_s32(sums)));
}

// The products of four columns, at eight shifts.
int16x8_t _add_columns(int16x8_t sums, const int16_t* a, const int16_t* b)
{
    const int16x4_t four = vld1_s16(b);
    sums = vmlaq_lane_s16(sums, vld1q_s16(a), four, 0);
    sums = vmlaq_lane_s16(sums, vld1q_s16(a + 1), four, 1);
    sums = vmlaq_lane_s16(sums, vld1q_s16(a + 2), four, 2);
    return vmlaq_lane_s16(sums, vld1q_s16(a + 3), four, 3);
}

void _correlate_group(int32_t* sums, const PairedRows& both)
{
    int32x4_t low = vdupq_n_s32(0);
    int32x4_t high = low;
    for (int32_t y = 0; y < both.rows; ++y) {
        const int16_t* a = both.a + y * both.a_stride;
        const int16_t* b = both.b + y * both.b_stride;
        for (int32_t x = 0; x < both.columns; x += kLanes) {
            int16x8_t products = vdupq_n_s16(0);
            if (x + kLanes <= both.columns) {
                products = _add_columns(_add_columns(products, a + x, b + x), a + x + 4, b + x + 4);
            } else {
                for (int32_t last = x; last < both.columns; ++last)
                    products = vmlaq_n_s16(products, vld1q_s16(a + last), b[last]);
            }
            low = vaddw_s16(low, vget_low_s16(products));
            high = vaddw_s16(high, vget_high_s16(products));
        }
    }
    vst1q_s32(sums, low);
    vst1q_s32(sums + 4, high);
}

}  // namespace

void correlate_shifts(int32_t* sums, const PairedRows& both, int32_t shifts)
{
    for (int32_t first = 0; first < shifts; first += kShiftGroup)
        _correlate_group(sums + first,
                         {both.a + first, both.a_stride, both.b, both.b_stride, both.columns, both.rows});
}

// Whole vectors of all rows, and what is left of the columns as one narrow area.
int32_t dot_product(const PairedRows& both)
{
    const int32_t whole = both.columns > 0 ? both.columns - both.columns % kLanes : 0;
    int32x4_t sums = vdupq_n_s32(0);
    for (int32_t x = 0; x < whole; x += kLanes) {
        const int16_t *a = both.a + x, *b = both.b + x;
        for (int32_t y = 0; y < both.rows; ++y, a += both.a_stride, b += both.b_stride)
            sums = _add_products(sums, vld1q_s16(a), vld1q_s16(b));
    }
    if (whole == both.columns)
        return _total(sums);
    return _total(sums) + scalar::dot_product({both.a + whole, both.a_stride, both.b + whole, both.b_stride,
                                               both.columns - whole, both.rows});
}

}  // namespace ozr::kernels::neon
