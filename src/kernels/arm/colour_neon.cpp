// Colour conversion, NEON, 16 pixels at a time; loads and stores take the components apart
// and weave them.
//
// To RGBA everything stays within signed 16 bits once whole levels are taken out of the products:
// with y = Y - 16, d = U - 128 and e = V - 128,
//   R = y + e  + ((42 y         + 153 e + 128) >> 8)     -20 128 to 29 597 before the shift
//   G = y - e  + ((42 y - 100 d +  48 e + 128) >> 8)     -19 388 to 29 062
//   B = y + 2d + ((42 y +   4 d         + 128) >> 8)      -1 056 to 10 674
// as 298 = 256 + 42, 409 = 256 + 153, -208 = -256 + 48 and 516 = 2 * 256 + 4. From RGBA, sums
// of three products fit unsigned 16 bits. In place, 16 bytes are written over pixels that
// were read before.
#include <arm_neon.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/colour.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kStep = 16;  // pixels
constexpr int32_t kPairs = kStep / 2;
constexpr int32_t kRgbaBytes = 4;

// --- To RGBA ---

// Eight components, one a pair: of the pixels with even numbers, of those with odd ones,
// and of both.
struct Pixels {
    uint8x8_t even;
    uint8x8_t odd;
    uint8x8_t u;
    uint8x8_t v;
};

int16x8_t _less(uint8x8_t bytes, uint8_t origin)
{
    return vreinterpretq_s16_u16(vsubl_u8(bytes, vdup_n_u8(origin)));
}

// `levels` and `rest`: what chroma adds, in levels and in 256ths of one.
uint8x16_t _component(int16x8_t even, int16x8_t odd, int16x8_t levels, int16x8_t rest)
{
    const int16x8_t of_even = vrsraq_n_s16(vaddq_s16(even, levels), vmlaq_n_s16(rest, even, 42), 8);
    const int16x8_t of_odd = vrsraq_n_s16(vaddq_s16(odd, levels), vmlaq_n_s16(rest, odd, 42), 8);
    return woven(vqmovun_s16(of_even), vqmovun_s16(of_odd));
}

void _write_rgba(uint8_t* dst, const Pixels& pixels)
{
    const int16x8_t even = _less(pixels.even, 16);
    const int16x8_t odd = _less(pixels.odd, 16);
    const int16x8_t d = _less(pixels.u, 128);
    const int16x8_t e = _less(pixels.v, 128);
    uint8x16x4_t rgba;
    rgba.val[0] = _component(even, odd, e, vmulq_n_s16(e, 153));
    rgba.val[1] = _component(even, odd, vnegq_s16(e), vmlaq_n_s16(vmulq_n_s16(e, 48), d, -100));
    rgba.val[2] = _component(even, odd, vaddq_s16(d, d), vshlq_n_s16(d, 2));
    rgba.val[3] = vdupq_n_u8(255);
    vst4q_u8(dst, rgba);
}

template <bool kVFirst>
void _pairs_to_rgba(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs,
                    YuvToRgbaRow* rest)
{
    int32_t p = 0;
    for (; p <= pairs - kPairs; p += kPairs, dst += kStep * kRgbaBytes) {
        const uint8x8x2_t y = vld2_u8(luma + 2 * p);
        const uint8x8x2_t c = vld2_u8(chroma + 2 * p);
        _write_rgba(dst, {y.val[0], y.val[1], c.val[kVFirst ? 1 : 0], c.val[kVFirst ? 0 : 1]});
    }
    rest(dst, luma + 2 * p, chroma + 2 * p, pairs - p);
}

// --- From RGBA ---

// Red, green and blue in 256ths.
template <uint8_t kRed, uint8_t kGreen, uint8_t kBlue>
uint16x8_t _weighed(uint8x8_t r, uint8x8_t g, uint8x8_t b)
{
    const uint16x8_t red_green = vmlal_u8(vmull_u8(r, vdup_n_u8(kRed)), g, vdup_n_u8(kGreen));
    return vmlal_u8(red_green, b, vdup_n_u8(kBlue));
}

template <uint8_t kRed, uint8_t kGreen, uint8_t kBlue>
uint16x8_t _weighed_low(const uint8x16x4_t& rgba)
{
    return _weighed<kRed, kGreen, kBlue>(vget_low_u8(rgba.val[0]), vget_low_u8(rgba.val[1]),
                                         vget_low_u8(rgba.val[2]));
}

template <uint8_t kRed, uint8_t kGreen, uint8_t kBlue>
uint16x8_t _weighed_high(const uint8x16x4_t& rgba)
{
    return _weighed<kRed, kGreen, kBlue>(vget_high_u8(rgba.val[0]), vget_high_u8(rgba.val[1]),
                                         vget_high_u8(rgba.val[2]));
}

OZR_INLINED uint8x16_t _gray(const uint8x16x4_t& rgba)
{
    const uint16x8_t low = _weighed_low<77, 151, 28>(rgba);
    const uint16x8_t high = _weighed_high<77, 151, 28>(rgba);
    return vcombine_u8(vshrn_n_u16(low, 8), vshrn_n_u16(high, 8));
}

OZR_INLINED uint8x16_t _luma(const uint8x16x4_t& rgba)
{
    const uint16x8_t low = _weighed_low<66, 128, 25>(rgba);
    const uint16x8_t high = _weighed_high<66, 128, 25>(rgba);
    return vaddq_u8(vcombine_u8(vrshrn_n_u16(low, 8), vrshrn_n_u16(high, 8)), vdupq_n_u8(16));
}

// Of the pixels with even numbers.
struct Chroma {
    uint8x8_t u;
    uint8x8_t v;
};

uint8x8_t _even(uint8x16_t bytes)
{
    return vmovn_u16(vreinterpretq_u16_u8(bytes));
}

// (kMore more - kLess1 less1 - kLess2 less2 + 32896) >> 8; the first product is added first, so
// that nothing is negative.
template <uint8_t kMore, uint8_t kLess1, uint8_t kLess2>
uint8x8_t _chroma(uint8x8_t more, uint8x8_t less1, uint8x8_t less2)
{
    uint16x8_t sum = vmlal_u8(vdupq_n_u16(32896), more, vdup_n_u8(kMore));
    sum = vmlsl_u8(sum, less1, vdup_n_u8(kLess1));
    return vshrn_n_u16(vmlsl_u8(sum, less2, vdup_n_u8(kLess2)), 8);
}

OZR_INLINED Chroma _chroma(const uint8x16x4_t& rgba)
{
    const uint8x8_t r = _even(rgba.val[0]);
    const uint8x8_t g = _even(rgba.val[1]);
    const uint8x8_t b = _even(rgba.val[2]);
    return {_chroma<112, 38, 74>(b, r, g), _chroma<112, 94, 18>(r, g, b)};
}

template <bool kVFirst>
void _rgba_to_pairs(uint8_t* dst, const uint8_t* src, int32_t pairs, RgbaToChromaPairsRow* rest)
{
    int32_t p = 0;
    for (; p <= pairs - kPairs; p += kPairs, src += kStep * kRgbaBytes) {
        const Chroma c = _chroma(vld4q_u8(src));
        const uint8x8x2_t both = {{kVFirst ? c.v : c.u, kVFirst ? c.u : c.v}};
        vst2_u8(dst + 2 * p, both);
    }
    rest(dst + 2 * p, src, pairs - p);
}

}  // namespace

void yvu_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    _pairs_to_rgba<true>(dst, luma, chroma, pairs, scalar::yvu_to_rgba_row);
}

void yuv_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    _pairs_to_rgba<false>(dst, luma, chroma, pairs, scalar::yuv_to_rgba_row);
}

void planar_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kPairs; p += kPairs, dst += kStep * kRgbaBytes) {
        const uint8x8x2_t y = vld2_u8(luma + 2 * p);
        _write_rgba(dst, {y.val[0], y.val[1], vld1_u8(u + p), vld1_u8(v + p)});
    }
    scalar::planar_to_rgba_row(dst, luma + 2 * p, u + p, v + p, pairs - p);
}

void yuyv_to_rgba_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kPairs; p += kPairs, src += 2 * kStep, dst += kStep * kRgbaBytes) {
        const uint8x8x4_t yuyv = vld4_u8(src);
        _write_rgba(dst, {yuyv.val[0], yuyv.val[2], yuyv.val[1], yuyv.val[3]});
    }
    scalar::yuyv_to_rgba_row(dst, src, pairs - p);
}

void gray_to_rgba_row(uint8_t* dst, const uint8_t* src, int32_t count)
{
    int32_t x = 0;
    for (; x <= count - kStep; x += kStep, dst += kStep * kRgbaBytes) {
        const uint8x16_t gray = vld1q_u8(src + x);
        const uint8x16x4_t rgba = {{gray, gray, gray, vdupq_n_u8(255)}};
        vst4q_u8(dst, rgba);
    }
    scalar::gray_to_rgba_row(dst, src + x, count - x);
}

void rgba_to_gray_row(uint8_t* dst, const uint8_t* src, int32_t count)
{
    int32_t x = 0;
    for (; x <= count - kStep; x += kStep, src += kStep * kRgbaBytes)
        vst1q_u8(dst + x, _gray(vld4q_u8(src)));
    scalar::rgba_to_gray_row(dst + x, src, count - x);
}

void rgba_to_luma_row(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step)
{
    int32_t x = 0;
    if (step == 1) {
        for (; x <= count - kStep; x += kStep, src += kStep * kRgbaBytes)
            vst1q_u8(dst + x, _luma(vld4q_u8(src)));
    }
    scalar::rgba_to_luma_row(dst + x, src, count - x, step);
}

void rgba_to_uv_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    _rgba_to_pairs<false>(dst, src, pairs, scalar::rgba_to_uv_row);
}

void rgba_to_vu_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    _rgba_to_pairs<true>(dst, src, pairs, scalar::rgba_to_vu_row);
}

void rgba_to_u_v_rows(uint8_t* u, uint8_t* v, const uint8_t* src, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kPairs; p += kPairs, src += kStep * kRgbaBytes) {
        const Chroma c = _chroma(vld4q_u8(src));
        vst1_u8(u + p, c.u);
        vst1_u8(v + p, c.v);
    }
    scalar::rgba_to_u_v_rows(u + p, v + p, src, pairs - p);
}

void rgba_to_yuyv_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kPairs; p += kPairs, src += kStep * kRgbaBytes, dst += 2 * kStep) {
        const uint8x16x4_t rgba = vld4q_u8(src);
        const uint8x16_t luma = _luma(rgba);
        const Chroma c = _chroma(rgba);
        const uint8x8x4_t yuyv = {{_even(luma), c.u, vshrn_n_u16(vreinterpretq_u16_u8(luma), 8), c.v}};
        vst4_u8(dst, yuyv);
    }
    scalar::rgba_to_yuyv_row(dst, src, pairs - p);
}

}  // namespace ozr::kernels::neon
