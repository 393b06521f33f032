// Colour conversion.
#ifndef OZR_KERNELS_COLOUR_H
#define OZR_KERNELS_COLOUR_H

#include <stdint.h>

namespace ozr::kernels
{

// 2 * pairs pixels of R, G, B, 255 from luma bytes and chroma pairs whose first byte is V:
//   R = (298 (Y - 16) + 409 (V - 128) + 128) >> 8
//   G = (298 (Y - 16) - 100 (U - 128) - 208 (V - 128) + 128) >> 8
//   B = (298 (Y - 16) + 516 (U - 128) + 128) >> 8, each clamped to a byte (BT.601, limited range).
using YvuToRgbaRow = void(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);

// The same with pairs whose first byte is U.
using YuvToRgbaRow = void(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);

// The same with the U and the V bytes in rows of their own.
using PlanarToRgbaRow = void(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                             int32_t pairs);

// The same from packed Y0 U Y1 V.
using YuyvToRgbaRow = void(uint8_t* dst, const uint8_t* src, int32_t pairs);

// dst pixel x = src[x], src[x], src[x], 255.
using GrayToRgbaRow = void(uint8_t* dst, const uint8_t* src, int32_t count);

// dst[x] = (77 R + 151 G + 28 B) >> 8 of pixel x: full range, no rounding.
using RgbaToGrayRow = void(uint8_t* dst, const uint8_t* src, int32_t count);

// dst[x] = ((66 R + 128 G + 25 B + 128) >> 8) + 16 of pixel x * step: limited range, at most 234.
// `dst` may start where `src` starts: pixels are converted in order, and no source byte is
// overwritten before it was read.
using RgbaToLumaRow = void(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step);

// Chroma pair p is that of pixel 2p alone, not an average: U = (-38 R - 74 G + 112 B + 32896) >> 8
// and V = (112 R - 94 G - 18 B + 32896) >> 8, both within 16 to 240. Stored as pairs, U or V first.
using RgbaToChromaPairsRow = void(uint8_t* dst, const uint8_t* src, int32_t pairs);

// The same with the U and the V bytes in rows of their own.
using RgbaToChromaRows = void(uint8_t* u, uint8_t* v, const uint8_t* src, int32_t pairs);

// The same packed as Y0 U Y1 V; both pixels of a pair keep their luma.
using RgbaToYuyvRow = void(uint8_t* dst, const uint8_t* src, int32_t pairs);

struct ColourKernels {
    YvuToRgbaRow* yvu_to_rgba_row;
    YuvToRgbaRow* yuv_to_rgba_row;
    PlanarToRgbaRow* planar_to_rgba_row;
    YuyvToRgbaRow* yuyv_to_rgba_row;
    GrayToRgbaRow* gray_to_rgba_row;
    RgbaToGrayRow* rgba_to_gray_row;
    RgbaToLumaRow* rgba_to_luma_row;
    RgbaToChromaPairsRow* rgba_to_uv_row;
    RgbaToChromaPairsRow* rgba_to_vu_row;
    RgbaToChromaRows* rgba_to_u_v_rows;
    RgbaToYuyvRow* rgba_to_yuyv_row;
};

namespace scalar
{
YvuToRgbaRow yvu_to_rgba_row;
YuvToRgbaRow yuv_to_rgba_row;
PlanarToRgbaRow planar_to_rgba_row;
YuyvToRgbaRow yuyv_to_rgba_row;
GrayToRgbaRow gray_to_rgba_row;
RgbaToGrayRow rgba_to_gray_row;
RgbaToLumaRow rgba_to_luma_row;
RgbaToChromaPairsRow rgba_to_uv_row;
RgbaToChromaPairsRow rgba_to_vu_row;
RgbaToChromaRows rgba_to_u_v_rows;
RgbaToYuyvRow rgba_to_yuyv_row;

constexpr void fill(ColourKernels* table)
{
    table->yvu_to_rgba_row = yvu_to_rgba_row;
    table->yuv_to_rgba_row = yuv_to_rgba_row;
    table->planar_to_rgba_row = planar_to_rgba_row;
    table->yuyv_to_rgba_row = yuyv_to_rgba_row;
    table->gray_to_rgba_row = gray_to_rgba_row;
    table->rgba_to_gray_row = rgba_to_gray_row;
    table->rgba_to_luma_row = rgba_to_luma_row;
    table->rgba_to_uv_row = rgba_to_uv_row;
    table->rgba_to_vu_row = rgba_to_vu_row;
    table->rgba_to_u_v_rows = rgba_to_u_v_rows;
    table->rgba_to_yuyv_row = rgba_to_yuyv_row;
}
}  // namespace scalar

namespace sse2
{
YvuToRgbaRow yvu_to_rgba_row;
YuvToRgbaRow yuv_to_rgba_row;
PlanarToRgbaRow planar_to_rgba_row;
YuyvToRgbaRow yuyv_to_rgba_row;
GrayToRgbaRow gray_to_rgba_row;
RgbaToGrayRow rgba_to_gray_row;
RgbaToLumaRow rgba_to_luma_row;
RgbaToChromaPairsRow rgba_to_uv_row;
RgbaToChromaPairsRow rgba_to_vu_row;
RgbaToChromaRows rgba_to_u_v_rows;
RgbaToYuyvRow rgba_to_yuyv_row;

constexpr void fill(ColourKernels* table)
{
    table->yvu_to_rgba_row = yvu_to_rgba_row;
    table->yuv_to_rgba_row = yuv_to_rgba_row;
    table->planar_to_rgba_row = planar_to_rgba_row;
    table->yuyv_to_rgba_row = yuyv_to_rgba_row;
    table->gray_to_rgba_row = gray_to_rgba_row;
    table->rgba_to_gray_row = rgba_to_gray_row;
    table->rgba_to_luma_row = rgba_to_luma_row;
    table->rgba_to_uv_row = rgba_to_uv_row;
    table->rgba_to_vu_row = rgba_to_vu_row;
    table->rgba_to_u_v_rows = rgba_to_u_v_rows;
    table->rgba_to_yuyv_row = rgba_to_yuyv_row;
}
}  // namespace sse2

namespace avx2
{
YvuToRgbaRow yvu_to_rgba_row;
YuvToRgbaRow yuv_to_rgba_row;
PlanarToRgbaRow planar_to_rgba_row;
YuyvToRgbaRow yuyv_to_rgba_row;
RgbaToGrayRow rgba_to_gray_row;
RgbaToLumaRow rgba_to_luma_row;
RgbaToYuyvRow rgba_to_yuyv_row;

constexpr void fill(ColourKernels* table)
{
    table->yvu_to_rgba_row = yvu_to_rgba_row;
    table->yuv_to_rgba_row = yuv_to_rgba_row;
    table->planar_to_rgba_row = planar_to_rgba_row;
    table->yuyv_to_rgba_row = yuyv_to_rgba_row;
    table->rgba_to_gray_row = rgba_to_gray_row;
    table->rgba_to_luma_row = rgba_to_luma_row;
    table->rgba_to_yuyv_row = rgba_to_yuyv_row;
}
}  // namespace avx2

namespace neon
{
YvuToRgbaRow yvu_to_rgba_row;
YuvToRgbaRow yuv_to_rgba_row;
PlanarToRgbaRow planar_to_rgba_row;
YuyvToRgbaRow yuyv_to_rgba_row;
GrayToRgbaRow gray_to_rgba_row;
RgbaToGrayRow rgba_to_gray_row;
RgbaToLumaRow rgba_to_luma_row;
RgbaToChromaPairsRow rgba_to_uv_row;
RgbaToChromaPairsRow rgba_to_vu_row;
RgbaToChromaRows rgba_to_u_v_rows;
RgbaToYuyvRow rgba_to_yuyv_row;

constexpr void fill(ColourKernels* table)
{
    table->yvu_to_rgba_row = yvu_to_rgba_row;
    table->yuv_to_rgba_row = yuv_to_rgba_row;
    table->planar_to_rgba_row = planar_to_rgba_row;
    table->yuyv_to_rgba_row = yuyv_to_rgba_row;
    table->gray_to_rgba_row = gray_to_rgba_row;
    table->rgba_to_gray_row = rgba_to_gray_row;
    table->rgba_to_luma_row = rgba_to_luma_row;
    table->rgba_to_uv_row = rgba_to_uv_row;
    table->rgba_to_vu_row = rgba_to_vu_row;
    table->rgba_to_u_v_rows = rgba_to_u_v_rows;
    table->rgba_to_yuyv_row = rgba_to_yuyv_row;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
