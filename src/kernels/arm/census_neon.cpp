// Texture codes, NEON: sixteen windows at a time. Nine times a pixel exceeds the sum of nine when
// the pixel exceeds a ninth of it, rounded down: a byte.
#include <arm_neon.h>
#include <stddef.h>
#include <stdint.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/census.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr uint32_t kStep = 16;  // windows
constexpr int32_t kEdge = 3;    // rows and columns of a window
constexpr int32_t kPixels = kEdge * kEdge;

// A ninth of sums of at most 2295, rounded down, as sum * 7282 >> 16: 7282 / 65536 is too much by a
// 32 768th part, which makes less than a hundredth here, and a ninth is what lies between a
// quotient and the next whole number at least.
uint8x8_t _ninths(uint16x8_t sums)
{
    const int16x8_t ninths = vqdmulhq_n_s16(vreinterpretq_s16_u16(sums), 7282 / 2);
    return vmovn_u16(vreinterpretq_u16_s16(ninths));
}

// The bits of eight comparisons: one in the lowest bit, the second above it, and so on.
template <int kBit>
uint8x16_t _with_bit(uint8x16_t below, uint8x16_t pixels, uint8x16_t mean)
{
    return vsliq_n_u8(below, vcgtq_u8(pixels, mean), kBit);
}

void _encode_sixteen(uint16_t* codes, const uint8_t* src, size_t stride)
{
    uint8x16_t p[static_cast<size_t>(kPixels)];
    uint16x8_t low = vdupq_n_u16(0);
    uint16x8_t high = vdupq_n_u16(0);
    unrolled<kPixels>([&](int32_t i) {
        p[i] = vld1q_u8(src + static_cast<size_t>(i / kEdge) * stride + i % kEdge);
        low = vaddw_u8(low, vget_low_u8(p[i]));
        high = vaddw_u8(high, vget_high_u8(p[i]));
    });
    const uint8x16_t mean = vcombine_u8(_ninths(low), _ninths(high));
    uint8x16_t code = vcgtq_u8(p[0], mean);
    code = _with_bit<1>(code, p[1], mean);
    code = _with_bit<2>(code, p[2], mean);
    code = _with_bit<3>(code, p[3], mean);
    code = _with_bit<4>(code, p[4], mean);
    code = _with_bit<5>(code, p[5], mean);
    code = _with_bit<6>(code, p[6], mean);
    code = _with_bit<7>(code, p[7], mean);
    const uint8x16x2_t words = {{code, vshrq_n_u8(vcgtq_u8(p[8], mean), 7)}};
    vst2q_u8(reinterpret_cast<uint8_t*>(codes), words);
}

}  // namespace

void census_run(uint16_t* dst, const uint8_t* src, uint32_t width, uint32_t count)
{
    const size_t stride = width;
    uint32_t k = 0;
    if (!scalar::census_overlaps(dst + stride + 1, src, stride, count)) {
        for (; count - k >= kStep; k += kStep)
            _encode_sixteen(dst + k + stride + 1, src + k, stride);
    }
    scalar::census_run(dst + k, src + k, width, count - k);
}

}  // namespace ozr::kernels::neon
