#include <algorithm>

#include "kernels/colour.h"

namespace ozr::kernels::scalar
{

namespace
{

constexpr int32_t kRgbaBytes = 4;

uint8_t _clamp(int32_t value)
{
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

void _write_rgba(uint8_t* dst, int32_t y, int32_t u, int32_t v)
{
    const int32_t c = 298 * (y - 16) + 128;
    const int32_t d = u - 128;
    const int32_t e = v - 128;
    dst[0] = _clamp((c + 409 * e) >> 8);
    dst[1] = _clamp((c - 100 * d - 208 * e) >> 8);
    dst[2] = _clamp((c + 516 * d) >> 8);
    dst[3] = 255;
}

// Luma bytes are kLumaStep bytes apart, the U and the V bytes kChromaStep.
template <int32_t kLumaStep, int32_t kChromaStep>
void _to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v, int32_t pairs)
{
    for (int32_t p = 0; p < pairs; ++p) {
        const int32_t pair_u = u[kChromaStep * p];
        const int32_t pair_v = v[kChromaStep * p];
        _write_rgba(dst, luma[2 * kLumaStep * p], pair_u, pair_v);
        _write_rgba(dst + kRgbaBytes, luma[2 * kLumaStep * p + kLumaStep], pair_u, pair_v);
        dst += 2 * kRgbaBytes;
    }
}

// Kept: green has the weight 128 where the usual integer form has 129, so white becomes
// 234, not 235.
uint8_t _luma(const uint8_t* rgba)
{
    return static_cast<uint8_t>(((66 * rgba[0] + 128 * rgba[1] + 25 * rgba[2] + 128) >> 8) + 16);
}

// 32896 is 128.5 in Q8: the middle of the range, and half a level for rounding.
uint8_t _u(const uint8_t* rgba)
{
    return static_cast<uint8_t>((-38 * rgba[0] - 74 * rgba[1] + 112 * rgba[2] + 32896) >> 8);
}

uint8_t _v(const uint8_t* rgba)
{
    return static_cast<uint8_t>((112 * rgba[0] - 94 * rgba[1] - 18 * rgba[2] + 32896) >> 8);
}

template <int32_t kChromaStep>
void _to_chroma_rows(uint8_t* u, uint8_t* v, const uint8_t* src, int32_t pairs)
{
    for (int32_t p = 0; p < pairs; ++p) {
        u[kChromaStep * p] = _u(src);
        v[kChromaStep * p] = _v(src);
        src += 2 * kRgbaBytes;
    }
}

}  // namespace

void yvu_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    _to_rgba_row<1, 2>(dst, luma, chroma + 1, chroma, pairs);
}

void yuv_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    _to_rgba_row<1, 2>(dst, luma, chroma, chroma + 1, pairs);
}

void planar_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v, int32_t pairs)
{
    _to_rgba_row<1, 1>(dst, luma, u, v, pairs);
}

void yuyv_to_rgba_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    _to_rgba_row<2, 4>(dst, src, src + 1, src + 3, pairs);
}

void gray_to_rgba_row(uint8_t* dst, const uint8_t* src, int32_t count)
{
    for (int32_t x = 0; x < count; ++x) {
        dst[0] = dst[1] = dst[2] = src[x];
        dst[3] = 255;
        dst += kRgbaBytes;
    }
}

void rgba_to_gray_row(uint8_t* dst, const uint8_t* src, int32_t count)
{
    for (int32_t x = 0; x < count; ++x) {
        dst[x] = static_cast<uint8_t>((77 * src[0] + 151 * src[1] + 28 * src[2]) >> 8);
        src += kRgbaBytes;
    }
}

void rgba_to_luma_row(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step)
{
    for (int32_t x = 0; x < count; ++x)
        dst[x] = _luma(src + static_cast<int64_t>(x) * step * kRgbaBytes);
}

void rgba_to_uv_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    _to_chroma_rows<2>(dst, dst + 1, src, pairs);
}

void rgba_to_vu_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    _to_chroma_rows<2>(dst + 1, dst, src, pairs);
}

void rgba_to_u_v_rows(uint8_t* u, uint8_t* v, const uint8_t* src, int32_t pairs)
{
    _to_chroma_rows<1>(u, v, src, pairs);
}

void rgba_to_yuyv_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    for (int32_t p = 0; p < pairs; ++p) {
        dst[0] = _luma(src);
        dst[1] = _u(src);
        dst[2] = _luma(src + kRgbaBytes);
        dst[3] = _v(src);
        dst += 4;
        src += 2 * kRgbaBytes;
    }
}

}  // namespace ozr::kernels::scalar
