#include <algorithm>

#include "kernels_scalar.h"

namespace
{

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

}  // namespace

void yvu_to_rgba_row_scalar(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    for (int32_t p = 0; p < pairs; ++p) {
        const int32_t v = chroma[2 * p];
        const int32_t u = chroma[2 * p + 1];
        _write_rgba(dst + 8 * p, luma[2 * p], u, v);
        _write_rgba(dst + 8 * p + 4, luma[2 * p + 1], u, v);
    }
}
