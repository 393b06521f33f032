// Resampling. Positions are Q22.10: 1024 steps to a pixel; column x is at x * step.
#ifndef OZR_KERNELS_RESAMPLE_H
#define OZR_KERNELS_RESAMPLE_H

#include <stdint.h>

#include "base/fixed.h"

namespace ozr::kernels
{

// A picture to be resampled: row y of the result is at the position first_y + y * step_y. Sizes are
// those of the result, in pixels; strides are bytes.
struct ResampleTask {
    const uint8_t* src;
    int64_t src_stride;
    uint32_t step_x;
    uint32_t step_y;
    uint32_t first_y;  // position of the first row
    int32_t width;
    int32_t rows;
};

// The source rows above and below one row of the result, and its distance (Q10) from the upper one.
struct ResampleRows {
    const uint8_t* top;
    const uint8_t* bottom;
    uint32_t fraction;
};

// Positions are computed in unsigned 32 bits. At a fraction of 0 the row below has no weight and
// may not exist: `bottom` is then the same row as `top`.
ResampleRows resample_rows(const ResampleTask& task, int32_t y);

// The last source column that a row reads.
uint32_t resample_last_column(const ResampleTask& task);

// Bilinear resampling of all rows:
//   dst[x] = ((p00 (1024 - fx) + p10 fx) (1024 - fy) + p01 fy (1024 - fx) + p11 fx fy) >> 20
// with the column i = x * step_x >> 10 and fx = x * step_x & 1023 in unsigned 32 bits. The largest
// sum is 255 * 2^20; no rounding. Where fx is 0 the right-hand neighbour is not read.
using Resample = void(uint8_t* dst, int32_t dst_stride, const ResampleTask& task);

// A row of byte pairs, of which `bytes` bytes (at least 1) may be read. A sample beyond
// them has the value of the last byte; a sample whose right-hand neighbour is beyond them
// is its own neighbour.
struct PairsRow {
    const uint8_t* data;
    int32_t bytes;
};

// The pairs above and below one row of the result, and its distance (Q10) from the upper ones.
struct PairsRows {
    PairsRow top;
    PairsRow bottom;
    uint32_t fraction;
};

// The same for one row of byte pairs: first bytes are interpolated between first bytes, second ones
// between second ones. Writes exactly dst_bytes bytes; an odd number ends in the middle of a pair.
// The two source rows may have different lengths.
using ResamplePairsRow = void(uint8_t* dst, int32_t dst_bytes, const PairsRows& rows, uint32_t step);

// dst[x] = src[x * step >> 10], in unsigned 32 bits.
using NearestGrayRow = void(uint8_t* dst, int32_t dst_width, const uint8_t* src, uint32_t step);

// dst[x] = src[x * step] for x < count; step 1 or more. `dst` may start where `src` starts: samples
// are copied in order, and no byte is overwritten before it was read.
using SampleBytesRow = void(uint8_t* dst, const uint8_t* src, int32_t count, int64_t step);

// dst[x] = src[2x] for x < dst_width: the luma of packed Y0 U Y1 V.
using YuyvLumaRow = void(uint8_t* dst, const uint8_t* src, int32_t dst_width);

// dst[x] = floor((top[2x] + top[2x+1] + bottom[2x] + bottom[2x+1]) / 4). Truncates, so rounding
// averages (pavgb) are not an option. Reads exactly 2 * dst_width bytes of each row.
using HalfGrayRow = void(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width);

// The rounded mean of 2 x 2 pairs, each byte of a pair by itself: dst[2x + i], i < 2, is
// (top[4x + i] + top[4x + 2 + i] + bottom[4x + i] + bottom[4x + 2 + i] + 2) / 4. Reads exactly
// 4 * pairs bytes of each row.
using HalfPairsRow = void(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t pairs);

struct ResampleKernels {
    Resample* gray;
    Resample* yuyv;  // from the luma of packed rows to grey
    Resample* rgb;   // three bytes a pixel; the right-hand neighbour is three bytes further
    ResamplePairsRow* pairs_row;
    YuyvLumaRow* yuyv_luma_row;
    HalfGrayRow* half_gray_row;
    HalfPairsRow* half_pairs_row;
    NearestGrayRow* nearest_gray_row;
    SampleBytesRow* sample_bytes_row;
};

namespace scalar
{
Resample resample_gray;
Resample resample_yuyv;
Resample resample_rgb;
ResamplePairsRow resample_pairs_row;
YuyvLumaRow yuyv_luma_row;
HalfGrayRow half_gray_row;
HalfPairsRow half_pairs_row;
NearestGrayRow nearest_gray_row;
SampleBytesRow sample_bytes_row;

// The last `width` pixels of a row, the first of which is at `position`.
void resample_gray_rest(uint8_t* dst, int32_t width, const ResampleRows& rows, uint32_t position,
                        uint32_t step);
void resample_yuyv_rest(uint8_t* dst, int32_t width, const ResampleRows& rows, uint32_t position,
                        uint32_t step);

constexpr void fill(ResampleKernels* table)
{
    table->gray = resample_gray;
    table->yuyv = resample_yuyv;
    table->rgb = resample_rgb;
    table->pairs_row = resample_pairs_row;
    table->yuyv_luma_row = yuyv_luma_row;
    table->half_gray_row = half_gray_row;
    table->half_pairs_row = half_pairs_row;
    table->nearest_gray_row = nearest_gray_row;
    table->sample_bytes_row = sample_bytes_row;
}
}  // namespace scalar

namespace sse2
{
YuyvLumaRow yuyv_luma_row;
HalfGrayRow half_gray_row;
HalfPairsRow half_pairs_row;
SampleBytesRow sample_bytes_row;

constexpr void fill(ResampleKernels* table)
{
    table->yuyv_luma_row = yuyv_luma_row;
    table->half_gray_row = half_gray_row;
    table->half_pairs_row = half_pairs_row;
    table->sample_bytes_row = sample_bytes_row;
}
}  // namespace sse2

namespace ssse3
{
Resample resample_gray;
Resample resample_yuyv;

constexpr void fill(ResampleKernels* table)
{
    table->gray = resample_gray;
    table->yuyv = resample_yuyv;
}
}  // namespace ssse3

namespace avx2
{
Resample resample_gray;
Resample resample_yuyv;

constexpr void fill(ResampleKernels* table)
{
    table->gray = resample_gray;
    table->yuyv = resample_yuyv;
}
}  // namespace avx2

namespace neon
{
Resample resample_gray;
Resample resample_yuyv;
YuyvLumaRow yuyv_luma_row;
HalfGrayRow half_gray_row;
HalfPairsRow half_pairs_row;
SampleBytesRow sample_bytes_row;

constexpr void fill(ResampleKernels* table)
{
    table->gray = resample_gray;
    table->yuyv = resample_yuyv;
    table->yuyv_luma_row = yuyv_luma_row;
    table->half_gray_row = half_gray_row;
    table->half_pairs_row = half_pairs_row;
    table->sample_bytes_row = sample_bytes_row;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
