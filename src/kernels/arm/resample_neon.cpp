// Halving and subsampling, NEON: loads that take every other byte apart, 16 samples at a time.
#include <arm_neon.h>

#include "kernels/resample.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kStep = 16;

// The sum of four pixels becomes a mean.
uint8x8_t _half(const uint8_t* top, const uint8_t* bottom)
{
    return vshrn_n_u16(vpadalq_u8(vpaddlq_u8(vld1q_u8(top)), vld1q_u8(bottom)), 2);
}

// The last sample of a vector has a neighbour that is not read: a vector counts only when another
// sample follows. Returns the samples done.
int32_t _every_other(uint8_t* dst, const uint8_t* src, int32_t count)
{
    int32_t x = 0;
    for (; x < count - kStep; x += kStep, src += 2 * kStep)
        vst1q_u8(dst + x, vld2q_u8(src).val[0]);
    return x;
}

// Four pairs from eight of two rows.
uint8x8_t _half_pairs(const uint8_t* top, const uint8_t* bottom)
{
    const auto split = [](const uint8_t* row) {
        const uint16x8_t pairs = vreinterpretq_u16_u8(vld1q_u8(row));
        return vuzp_u16(vget_low_u16(pairs), vget_high_u16(pairs));
    };
    const uint16x4x2_t upper = split(top), lower = split(bottom);
    const auto bytes = [](uint16x4_t pairs) { return vreinterpret_u8_u16(pairs); };
    const uint16x8_t sums = vaddq_u16(vaddl_u8(bytes(upper.val[0]), bytes(upper.val[1])),
                                      vaddl_u8(bytes(lower.val[0]), bytes(lower.val[1])));
    return vrshrn_n_u16(sums, 2);
}

}  // namespace

void half_gray_row(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width)
{
    int32_t x = 0;
    for (; x <= dst_width - kStep; x += kStep, top += 2 * kStep, bottom += 2 * kStep)
        vst1q_u8(dst + x, vcombine_u8(_half(top, bottom), _half(top + kStep, bottom + kStep)));
    scalar::half_gray_row(dst + x, top, bottom, dst_width - x);
}

void half_pairs_row(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t pairs)
{
    constexpr int32_t kPairs = 4;
    int32_t x = 0;
    for (; x <= pairs - kPairs; x += kPairs)
        vst1_u8(dst + 2 * x, _half_pairs(top + 4 * x, bottom + 4 * x));
    scalar::half_pairs_row(dst + 2 * x, top + 4 * x, bottom + 4 * x, pairs - x);
}

void yuyv_luma_row(uint8_t* dst, const uint8_t* src, int32_t dst_width)
{
    const int32_t x = _every_other(dst, src, dst_width);
    scalar::yuyv_luma_row(dst + x, src + 2 * x, dst_width - x);
}

// In place, 16 bytes are written over samples that were read before.
void sample_bytes_row(uint8_t* dst, const uint8_t* src, int32_t count, int64_t step)
{
    const int32_t x = step == 2 ? _every_other(dst, src, count) : 0;
    scalar::sample_bytes_row(dst + x, src + x * step, count - x, step);
}

}  // namespace ozr::kernels::neon
