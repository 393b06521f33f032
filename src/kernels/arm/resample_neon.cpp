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

// The last sample of a vector has a neighbour that is not read: a vector counts only when another sample follows. Returns
// the samples done.
int32_t _every_other(uint8_t* dst, const uint8_t* src, int32_t count)
{
    int32_t x = 0;
    for (; x < count - kStep; x += kStep, src += 2 * kStep)
        vst1q_u8(dst + x, vld2q_u8(src).val[0]);
    return x;
}

}  // namespace

void half_gray_row(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width)
{
    int32_t x = 0;
    for (; x <= dst_width - kStep; x += kStep, top += 2 * kStep, bottom += 2 * kStep)
        vst1q_u8(dst + x, vcombine_u8(_half(top, bottom), _half(top + kStep, bottom + kStep)));
    scalar::half_gray_row(dst + x, top, bottom, dst_width - x);
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
