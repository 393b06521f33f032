#include <algorithm>

#include "base/wrap32.h"
#include "kernels/warp.h"

namespace ozr::kernels::scalar
{

namespace
{

// The sample at a byte offset. Offsets are outside the source where it has a single row or column,
// and where a packed row has fewer columns than its stride: the nearest byte is taken.
int32_t _sample(const Warp& warp, int64_t offset)
{
    return warp.src[std::clamp<int64_t>(offset, 0, warp.last)];
}

uint8_t _warped_pixel(const Warp& warp, Wrap32 x, Wrap32 y)
{
    const int32_t column = x.value / warp.scale;
    const int32_t row = y.value / warp.scale;
    if (column < 0 || column >= warp.columns || row < 0 || row >= warp.rows)
        return 0;
    const Wrap32 fx = x.value % warp.scale;
    const Wrap32 fy = y.value % warp.scale;
    const int64_t x0 = column - (column == warp.columns - 1 ? 1 : 0);
    const int64_t y0 = row - (row == warp.rows - 1 ? 1 : 0);
    const int64_t offset = y0 * warp.stride + x0 * warp.pixel_bytes;
    const Wrap32 p00 = _sample(warp, offset);
    const Wrap32 p01 = _sample(warp, offset + warp.pixel_bytes);
    const Wrap32 p10 = _sample(warp, offset + warp.stride);
    const Wrap32 p11 = _sample(warp, offset + warp.stride + warp.pixel_bytes);
    const Wrap32 value = p00 + ((p10 - p00) * fy + (p01 - p00) * fx) / warp.scale +
                         (((fx * fy) >> kWarpShift) * (p11 + p00 - p01 - p10)) / warp.square;
    return static_cast<uint8_t>(value.bits());
}

}  // namespace

void warp_row(uint8_t* dst, int32_t count, const Warp& warp, int32_t x, int32_t y)
{
    Wrap32 source_x = x;
    Wrap32 source_y = y;
    for (int32_t i = 0; i < count; ++i) {
        dst[i] = _warped_pixel(warp, source_x, source_y);
        source_x = source_x + warp.step_x;
        source_y = source_y + warp.step_y;
    }
}

void line_gray_row(uint8_t* dst, int32_t count, const Line& line, int64_t x, int64_t y)
{
    for (int32_t i = 0; i < count; ++i) {
        const int64_t column = x >> kLineFracBits;
        const int64_t row = y >> kLineFracBits;
        const bool inside = column >= 0 && column < line.width && row >= 0 && row < line.height;
        dst[i] = inside ? line.src[row * line.stride + column] : uint8_t{0};
        x += line.step_x;
        y += line.step_y;
    }
}

}  // namespace ozr::kernels::scalar
