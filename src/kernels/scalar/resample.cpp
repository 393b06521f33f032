#include <stddef.h>

#include "kernels/resample.h"

namespace ozr::kernels
{

ResampleRows resample_rows(const ResampleTask& task, int32_t y)
{
    const uint32_t position = task.first_y + static_cast<uint32_t>(y) * task.step_y;
    const uint32_t fraction = position & kResampleFracMask;
    const uint8_t* top = task.src + static_cast<ptrdiff_t>((position >> kResampleFracBits) * task.src_stride);
    return {top, fraction != 0 ? top + static_cast<ptrdiff_t>(task.src_stride) : top, fraction};
}

uint32_t resample_last_column(const ResampleTask& task)
{
    const uint32_t last = task.width > 0 ? static_cast<uint32_t>(task.width - 1) * task.step_x : 0;
    return (last >> kResampleFracBits) + ((last & kResampleFracMask) != 0 ? 1U : 0U);
}

}  // namespace ozr::kernels

namespace ozr::kernels::scalar
{

namespace
{

// Interpolates the four samples around a position; `right` is the distance of the right-hand
// ones in bytes.
uint8_t _interpolate(const uint8_t* top, const uint8_t* bottom, uint32_t right, uint32_t fx, uint32_t fy)
{
    const uint32_t upper = top[0] * (kResampleOne - fx) + top[right] * fx;
    return static_cast<uint8_t>(
        (upper * (kResampleOne - fy) + bottom[0] * fy * (kResampleOne - fx) + bottom[right] * fx * fy) >>
        (2 * kResampleFracBits));
}

// Resamples a row whose samples are kPixelBytes apart.
template <uint32_t kPixelBytes>
void _resample_row(uint8_t* dst, int32_t width, const ResampleRows& rows, uint32_t position, uint32_t step)
{
    for (int32_t x = 0; x < width; ++x) {
        const uint32_t column = (position >> kResampleFracBits) * kPixelBytes;
        const uint32_t fx = position & kResampleFracMask;
        const uint32_t right = fx != 0 ? kPixelBytes : 0;  // the last sample has no neighbour
        dst[x] = _interpolate(rows.top + column, rows.bottom + column, right, fx, rows.fraction);
        position += step;
    }
}

void _resample_rgb_row(uint8_t* dst, int32_t width, const ResampleRows& rows, uint32_t step)
{
    uint32_t position = 0;
    for (int32_t x = 0; x < width; ++x) {
        const uint32_t column = 3 * (position >> kResampleFracBits);
        const uint32_t fx = position & kResampleFracMask;
        const uint32_t right = fx != 0 ? 3 : 0;
        for (uint32_t i = column; i < column + 3; ++i)
            *dst++ = _interpolate(rows.top + i, rows.bottom + i, right, fx, rows.fraction);
        position += step;
    }
}

// A byte of a pair, interpolated with the same byte of the next pair, in 1024ths.
uint32_t _between_pairs(PairsRow row, uint32_t wanted, uint32_t fx)
{
    const uint32_t last = static_cast<uint32_t>(row.bytes) - 1;
    const uint32_t byte = wanted < last ? wanted : last;
    const uint32_t right = fx != 0 && byte + 2 <= last ? 2 : 0;
    return row.data[byte] * (kResampleOne - fx) + row.data[byte + right] * fx;
}

template <class Row>
void _each_row(uint8_t* dst, int32_t dst_stride, const ResampleTask& task, Row resample_row)
{
    for (int32_t y = 0; y < task.rows; ++y)
        resample_row(dst + static_cast<ptrdiff_t>(y) * dst_stride, resample_rows(task, y));
}

}  // namespace

void resample_gray_rest(uint8_t* dst, int32_t width, const ResampleRows& rows, uint32_t position,
                        uint32_t step)
{
    _resample_row<1>(dst, width, rows, position, step);
}

void resample_yuyv_rest(uint8_t* dst, int32_t width, const ResampleRows& rows, uint32_t position,
                        uint32_t step)
{
    _resample_row<2>(dst, width, rows, position, step);
}

void resample_gray(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    _each_row(dst, dst_stride, task, [&task](uint8_t* row, const ResampleRows& rows) {
        _resample_row<1>(row, task.width, rows, 0, task.step_x);
    });
}

void resample_yuyv(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    _each_row(dst, dst_stride, task, [&task](uint8_t* row, const ResampleRows& rows) {
        _resample_row<2>(row, task.width, rows, 0, task.step_x);
    });
}

void resample_rgb(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    _each_row(dst, dst_stride, task, [&task](uint8_t* row, const ResampleRows& rows) {
        _resample_rgb_row(row, task.width, rows, task.step_x);
    });
}

void resample_pairs_row(uint8_t* dst, int32_t dst_bytes, const PairsRows& rows, uint32_t step)
{
    const PairsRow top = rows.top, bottom = rows.bottom;  // copies, which no store below can change
    const uint32_t fraction = rows.fraction;
    for (uint32_t x = 0; x < static_cast<uint32_t>(dst_bytes); ++x) {
        const uint32_t position = (x >> 1) * step;
        const uint32_t byte = 2 * (position >> kResampleFracBits) + (x & 1);
        const uint32_t fx = position & kResampleFracMask;
        const uint32_t upper = _between_pairs(top, byte, fx), lower = _between_pairs(bottom, byte, fx);
        dst[x] = static_cast<uint8_t>((upper * (kResampleOne - fraction) + lower * fraction) >>
                                      (2 * kResampleFracBits));
    }
}

void nearest_gray_row(uint8_t* dst, int32_t dst_width, const uint8_t* src, uint32_t step)
{
    uint32_t position = 0;
    for (int32_t x = 0; x < dst_width; ++x) {
        dst[x] = src[position >> kResampleFracBits];
        position += step;
    }
}

void sample_bytes_row(uint8_t* dst, const uint8_t* src, int32_t count, int64_t step)
{
    for (int32_t x = 0; x < count; ++x)
        dst[x] = src[x * step];
}

void yuyv_luma_row(uint8_t* dst, const uint8_t* src, int32_t dst_width)
{
    for (int32_t x = 0; x < dst_width; ++x)
        dst[x] = src[2 * x];
}

void half_gray_row(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width)
{
    for (int32_t x = 0; x < dst_width; ++x) {
        const uint32_t sum = uint32_t{top[2 * x]} + top[2 * x + 1] + bottom[2 * x] + bottom[2 * x + 1];
        dst[x] = static_cast<uint8_t>(sum >> 2);
    }
}

void half_pairs_row(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t pairs)
{
    for (int32_t x = 0; x < 2 * pairs; ++x) {
        const int32_t from = 2 * x - x % 2;
        const uint32_t sum = uint32_t{top[from]} + top[from + 2] + bottom[from] + bottom[from + 2];
        dst[x] = static_cast<uint8_t>((sum + 2) >> 2);
    }
}

}  // namespace ozr::kernels::scalar
