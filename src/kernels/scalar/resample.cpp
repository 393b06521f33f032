#include <stddef.h>

#include "kernels/scalar/scalar.h"

namespace
{

constexpr uint32_t kFracBits = 10;
constexpr uint32_t kOne = 1U << kFracBits;
constexpr uint32_t kFracMask = kOne - 1;

// The four samples around a position; right neighbours at a distance of `right` bytes.
uint8_t _interpolate(const uint8_t* top, const uint8_t* bottom, uint32_t right, uint32_t fx, uint32_t fy)
{
    const uint32_t upper = top[0] * (kOne - fx) + top[right] * fx;
    return static_cast<uint8_t>(
        (upper * (kOne - fy) + bottom[0] * fy * (kOne - fx) + bottom[right] * fx * fy) >> (2 * kFracBits));
}

// Samples stand `pitch` bytes apart in the source rows.
void _resample_row(uint8_t* dst, int32_t width, const OzrResampleRows& rows, uint32_t position, uint32_t step,
                   uint32_t pitch)
{
    for (int32_t x = 0; x < width; ++x) {
        const uint32_t column = (position >> kFracBits) * pitch;
        const uint32_t fx = position & kFracMask;
        const uint32_t right = fx != 0 ? pitch : 0;  // the last sample of a row has no neighbour
        dst[x] = _interpolate(rows.top + column, rows.bottom + column, right, fx, rows.fraction);
        position += step;
    }
}

void _resample_rgb_row(uint8_t* dst, int32_t width, const OzrResampleRows& rows, uint32_t step)
{
    uint32_t position = 0;
    for (int32_t x = 0; x < width; ++x) {
        const uint32_t column = 3 * (position >> kFracBits);
        const uint32_t fx = position & kFracMask;
        const uint32_t right = fx != 0 ? 3 : 0;
        for (uint32_t i = column; i < column + 3; ++i)
            *dst++ = _interpolate(rows.top + i, rows.bottom + i, right, fx, rows.fraction);
        position += step;
    }
}

template <class Row>
void _each_row(uint8_t* dst, int32_t dst_stride, const OzrResample& task, Row resample_row)
{
    for (int32_t y = 0; y < task.rows; ++y)
        resample_row(dst + static_cast<ptrdiff_t>(y) * dst_stride, ozr_resample_rows(task, y));
}

}  // namespace

OzrResampleRows ozr_resample_rows(const OzrResample& task, int32_t y)
{
    const uint32_t position = task.first_y + static_cast<uint32_t>(y) * task.step_y;
    const uint32_t fraction = position & kFracMask;
    const uint8_t* top = task.src + static_cast<ptrdiff_t>((position >> kFracBits) * task.src_stride);
    return {top, fraction != 0 ? top + static_cast<ptrdiff_t>(task.src_stride) : top, fraction};
}

void resample_gray_rest(uint8_t* dst, int32_t width, const OzrResampleRows& rows, uint32_t position,
                        uint32_t step)
{
    _resample_row(dst, width, rows, position, step, 1);
}

void resample_yuyv_rest(uint8_t* dst, int32_t width, const OzrResampleRows& rows, uint32_t position,
                        uint32_t step)
{
    _resample_row(dst, width, rows, position, step, 2);
}

void resample_gray_scalar(uint8_t* dst, int32_t dst_stride, const OzrResample& task)
{
    _each_row(dst, dst_stride, task, [&task](uint8_t* row, const OzrResampleRows& rows) {
        _resample_row(row, task.width, rows, 0, task.step_x, 1);
    });
}

void resample_yuyv_scalar(uint8_t* dst, int32_t dst_stride, const OzrResample& task)
{
    _each_row(dst, dst_stride, task, [&task](uint8_t* row, const OzrResampleRows& rows) {
        _resample_row(row, task.width, rows, 0, task.step_x, 2);
    });
}

void resample_rgb_scalar(uint8_t* dst, int32_t dst_stride, const OzrResample& task)
{
    _each_row(dst, dst_stride, task, [&task](uint8_t* row, const OzrResampleRows& rows) {
        _resample_rgb_row(row, task.width, rows, task.step_x);
    });
}

void resample_pairs_row_scalar(uint8_t* dst, int32_t dst_bytes, const uint8_t* top, const uint8_t* bottom,
                               int32_t src_bytes, uint32_t step, uint32_t fraction)
{
    const uint32_t last = static_cast<uint32_t>(src_bytes) - 1;
    for (uint32_t x = 0; x < static_cast<uint32_t>(dst_bytes); ++x) {
        const uint32_t position = (x >> 1) * step;
        const uint32_t fx = position & kFracMask;
        const uint32_t wanted = 2 * (position >> kFracBits) + (x & 1);
        const uint32_t byte = wanted < last ? wanted : last;
        const uint32_t right = fx != 0 && byte + 2 <= last ? 2 : 0;
        dst[x] = _interpolate(top + byte, bottom + byte, right, fx, fraction);
    }
}

void nearest_gray_row_scalar(uint8_t* dst, int32_t dst_width, const uint8_t* src, uint32_t step)
{
    uint32_t position = 0;
    for (int32_t x = 0; x < dst_width; ++x) {
        dst[x] = src[position >> kFracBits];
        position += step;
    }
}

void sample_bytes_row_scalar(uint8_t* dst, const uint8_t* src, int32_t count, int64_t step)
{
    for (int32_t x = 0; x < count; ++x)
        dst[x] = src[x * step];
}

void yuyv_luma_row_scalar(uint8_t* dst, const uint8_t* src, int32_t dst_width)
{
    for (int32_t x = 0; x < dst_width; ++x)
        dst[x] = src[2 * x];
}

void half_gray_row_scalar(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width)
{
    for (int32_t x = 0; x < dst_width; ++x) {
        const uint32_t sum = uint32_t{top[2 * x]} + top[2 * x + 1] + bottom[2 * x] + bottom[2 * x + 1];
        dst[x] = static_cast<uint8_t>(sum >> 2);
    }
}
