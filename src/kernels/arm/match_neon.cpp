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

void _add(MaskedSums* sums, const MaskedSums& more)
{
    sums->aa += more.aa;
    sums->bb += more.bb;
    sums->ab += more.ab;
}

}  // namespace

// Whole vectors of all rows first, then what is left of the columns as one narrow area.
MaskedSums correlate_masked(const MaskedArea& a, const MaskedArea& b, int32_t columns, int32_t rows)
{
    const int32_t whole = columns > 0 ? columns - columns % kLanes : 0;
    int32x4_t aa = vdupq_n_s32(0);
    int32x4_t bb = aa;
    int32x4_t ab = aa;
    for (int32_t y = 0; y < rows; ++y) {
        const int64_t at_a = y * a.stride;
        const int64_t at_b = y * b.stride;
        for (int32_t x = 0; x < whole; x += kLanes) {
            const int16x8_t p = vld1q_s16(a.contrast + at_a + x);
            const int16x8_t q = vld1q_s16(b.contrast + at_b + x);
            aa = _add_products(aa, p, vandq_s16(p, vld1q_s16(b.mask + at_b + x)));
            bb = _add_products(bb, q, vandq_s16(q, vld1q_s16(a.mask + at_a + x)));
            ab = _add_products(ab, p, q);
        }
    }
    MaskedSums sums = {_total(aa), _total(bb), _total(ab)};
    if (whole < columns)
        _add(&sums,
             scalar::correlate_masked({a.contrast + whole, a.mask + whole, a.stride},
                                      {b.contrast + whole, b.mask + whole, b.stride}, columns - whole, rows));
    return sums;
}

int32_t dot_product(const int16_t* a, const int16_t* b, int32_t count)
{
    int32x4_t sums = vdupq_n_s32(0);
    int32_t i = 0;
    for (; i + kLanes <= count; i += kLanes)
        sums = _add_products(sums, vld1q_s16(a + i), vld1q_s16(b + i));
    return _total(sums) + scalar::dot_product(a + i, b + i, count - i);
}

}  // namespace ozr::kernels::neon
