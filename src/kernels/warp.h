// Warps: similarity warps and straight walks over a picture.
#ifndef OZR_KERNELS_WARP_H
#define OZR_KERNELS_WARP_H

#include <stdint.h>

namespace ozr::kernels
{

// The square of the scale and the product of two fractions are both shifted right by four bits
// before they are divided.
constexpr uint32_t kWarpShift = 4;

// A similarity warp. Source positions are multiples of 1 / scale pixel. Neither scale nor square is
// 0, and scale is not -1.
struct Warp {
    const uint8_t* src;
    int64_t last;         // offset of the last sample; others are clamped
    int32_t stride;       // bytes from one row to the next
    int32_t pixel_bytes;  // bytes from one sample to its right-hand neighbour
    int32_t columns;      // positions outside [0, columns) x [0, rows) give 0
    int32_t rows;
    int32_t scale;
    int32_t square;  // scale * scale >> 4, wrapped
    int32_t step_x;  // per destination column
    int32_t step_y;
};

// `count` warped pixels from the position (x, y) on, all modulo 2^32: with the column and fraction
// x / scale and x % scale (truncating: a position just left of 0 counts as column 0 with a
// negative fraction), likewise rows, and a step back, with unchanged fractions, from the last
// column and the last row,
//   dst = p00 + ((p10 - p00) fy + (p01 - p00) fx) / scale +
//         ((fx fy >> 4) (p11 + p00 - p01 - p10)) / square
// where p01 is right of p00 and p10 below it; every division truncates and the low byte is kept.
// `dst` may overlap the source: pixels are done in order.
using WarpRow = void(uint8_t* dst, int32_t count, const Warp& warp, int32_t x, int32_t y);

// A straight walk over a grey picture, positions and steps in Q26.
constexpr int32_t kLineFracBits = 26;
struct Line {
    const uint8_t* src;
    int64_t stride;
    int32_t width;
    int32_t height;
    int64_t step_x;
    int64_t step_y;
};

// dst[i] = the pixel in column (x + i * step_x) >> 26 of row (y + i * step_y) >> 26, 0
// outside the picture.
using LineGrayRow = void(uint8_t* dst, int32_t count, const Line& line, int64_t x, int64_t y);

struct WarpKernels {
    WarpRow* row;
    LineGrayRow* line_gray_row;
};

namespace scalar
{
WarpRow warp_row;
LineGrayRow line_gray_row;

constexpr void fill(WarpKernels* table)
{
    table->row = warp_row;
    table->line_gray_row = line_gray_row;
}
}  // namespace scalar

}  // namespace ozr::kernels

#endif
