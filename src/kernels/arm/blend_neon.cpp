// Transitions, NEON, 16 bytes at a time. In 128ths a byte is 128 e + a (l - e), none negative and
// at most 128 * 255: the difference may be negative, the whole fits 16 bits. The 128 that is added
// comes as one level after the shift.
#include <arm_neon.h>
#include <stdint.h>

#include "kernels/blend.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kStep = 16;
constexpr int32_t kHalf = kStep / 2;
constexpr int32_t kWeightBits = 7;

uint8x8_t _blend_words(uint8x8_t earlier, uint8x8_t later, int16x8_t weights)
{
    const int16x8_t change = vreinterpretq_s16_u16(vsubl_u8(later, earlier));
    const int16x8_t whole = vreinterpretq_s16_u16(vshll_n_u8(earlier, kWeightBits));
    return vshrn_n_u16(vreinterpretq_u16_s16(vmlaq_s16(whole, change, weights)), kWeightBits);
}

// Blends whole vectors of `count` bytes and says how many bytes that were. `weights` are those of
// the first eight, `half_step` lies between the weights of a byte and of the one eight bytes on.
int32_t _blend(uint8_t* dst, const uint8_t* later, int32_t count, int16x8_t weights, int32_t half_step)
{
    const int16x8_t step = vdupq_n_s16(static_cast<int16_t>(half_step));
    int32_t x = 0;
    for (; x <= count - kStep; x += kStep) {
        const uint8x16_t e = vld1q_u8(dst + x);
        const uint8x16_t l = vld1q_u8(later + x);
        const uint8x8_t low = _blend_words(vget_low_u8(e), vget_low_u8(l), weights);
        weights = vaddq_s16(weights, step);
        const uint8x8_t high = _blend_words(vget_high_u8(e), vget_high_u8(l), weights);
        weights = vaddq_s16(weights, step);
        vst1q_u8(dst + x, vqaddq_u8(vcombine_u8(low, high), vdupq_n_u8(1)));
    }
    return x;
}

// first_weight + weight_step * (lane >> shift)
int16x8_t _weights(int32_t first_weight, int32_t weight_step, int32_t shift)
{
    int16_t weights[kHalf];
    for (int32_t i = 0; i < kHalf; ++i)
        weights[i] = static_cast<int16_t>(first_weight + weight_step * (i >> shift));
    return vld1q_s16(weights);
}

}  // namespace

void blend_row(uint8_t* dst, const uint8_t* later, int32_t count, int32_t first_weight, int32_t weight_step)
{
    const int32_t x = _blend(dst, later, count, _weights(first_weight, weight_step, 0), kHalf * weight_step);
    scalar::blend_row(dst + x, later + x, count - x, first_weight + x * weight_step, weight_step);
}

void blend_pairs_row(uint8_t* dst, const uint8_t* later, int32_t pairs, int32_t first_weight,
                     int32_t weight_step)
{
    const int32_t x =
        _blend(dst, later, 2 * pairs, _weights(first_weight, weight_step, 1), kHalf / 2 * weight_step);
    scalar::blend_pairs_row(dst + x, later + x, pairs - x / 2, first_weight + x / 2 * weight_step,
                            weight_step);
}

}  // namespace ozr::kernels::neon
