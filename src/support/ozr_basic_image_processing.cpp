// Resizing, cropping, subsampling and texture codes of pictures in the caller's own memory.
//
// The resizers share one scheme: positions in the source are Q22.10 numbers, (source size << 10) / destination size
// apart, starting at 0. A crop is the same on a part of the picture.
#include <stddef.h>

#include <algorithm>

#include "base/plane.h"
#include "kernels/kernels.h"
#include "ozr_gray.h"
#include "ozr_memory.h"
#include "support/raw_pictures.h"

using namespace ozr;

namespace
{

constexpr int32_t kRgbBytes = 3;
// A 3 x 3 window ends two rows and two columns after its first pixel.
constexpr uint32_t kCensusMargin = 2;

// Source and destination of a resizing.
struct Resizing {
    Plane dst;
    ConstPlane src;

    // Both sizes are 1 or more. Sizes of 2^21 and more wrap around in Q22.10; as long as the step is not negative, all
    // positions are inside the source.
    int32_t step_x() const { return fixed_point(src.width) / dst.width; }
    int32_t step_y() const { return fixed_point(src.height) / dst.height; }

    bool is_sound() const { return dst.has_pixels() && src.has_pixels() && step_x() >= 0 && step_y() >= 0; }
    // Whether the rows of the result overlap neither each other nor the source.
    bool is_apart(int32_t pixel_bytes) const
    {
        const int64_t row_bytes = int64_t{dst.width} * pixel_bytes;
        const int64_t dst_bytes = int64_t{dst.height} * dst.stride;
        // With the right-hand neighbour of the last pixel.
        const int64_t src_row_bytes = (int64_t{src.width} + 1) * pixel_bytes;
        const int64_t src_bytes =
            int64_t{src.height} * src.stride + std::max<int64_t>(src.stride, src_row_bytes);
        const intptr_t dst_begin = reinterpret_cast<intptr_t>(dst.data);
        const intptr_t src_begin = reinterpret_cast<intptr_t>(src.data);
        return dst.stride >= row_bytes && src.stride >= 0 &&
               (dst_begin + dst_bytes <= src_begin || src_begin + src_bytes <= dst_begin);
    }

    // The same for the part of the source inside `crop`; a source without pixels when the crop is empty or partly outside.
    Resizing cropped(const ozr_rect* crop, int32_t pixel_bytes) const
    {
        if (src.data == nullptr || !crop_is_inside(crop, src.width, src.height))
            return {dst, {}};
        const uint8_t* first = src.row(crop->top) + static_cast<ptrdiff_t>(crop->left) * pixel_bytes;
        return {dst, src.part(first, crop->right - crop->left, crop->bottom - crop->top)};
    }

private:
    static int32_t fixed_point(int32_t size)
    {
        return static_cast<int32_t>(static_cast<uint32_t>(size) << kResampleFracBits);
    }
};

ozr_err _resize_nearest(const Resizing& task)
{
    if (!task.is_sound())
        return ozr_err_invalid_argument;
    kernels::NearestGrayRow* const nearest_row = kernels::active()->resample.nearest_gray_row;
    const uint32_t step_x = static_cast<uint32_t>(task.step_x());
    const uint32_t step_y = static_cast<uint32_t>(task.step_y());
    uint32_t position = 0;
    for (int32_t y = 0; y < task.dst.height; ++y) {
        nearest_row(task.dst.row(y), task.dst.width, task.src.row(position >> kResampleFracBits), step_x);
        position += step_y;
    }
    return ozr_success;
}

// Resizes the rows [first, end) of the result, for which a next source row exists. The last column has no right-hand
// neighbour: it is its own, by a step of 0. All other columns use their neighbour, even one beyond the source.
void _resize_rows(const Resizing& task, kernels::Resample* resample, int32_t pixel_bytes, int32_t first,
                  int32_t end)
{
    const uint32_t step_x = static_cast<uint32_t>(task.step_x());
    const uint32_t step_y = static_cast<uint32_t>(task.step_y());
    const uint32_t first_y = static_cast<uint32_t>(first) * step_y;
    const int32_t last = task.dst.width - 1;
    const ptrdiff_t right =
        static_cast<ptrdiff_t>((static_cast<uint32_t>(last) * step_x) >> kResampleFracBits) * pixel_bytes;
    uint8_t* dst = task.dst.row(first);
    resample(dst, task.dst.stride,
             {task.src.data, task.src.stride, step_x, step_y, first_y, last, end - first});
    resample(dst + static_cast<ptrdiff_t>(last) * pixel_bytes, task.dst.stride,
             {task.src.data + right, task.src.stride, 0, step_y, first_y, 1, end - first});
}

// The last row has no next row: it is resized from a source all of whose rows are that row.
void _resize_last_row(const Resizing& task, kernels::Resample* resample, int32_t pixel_bytes)
{
    const int32_t last = task.dst.height - 1;
    const uint32_t position = static_cast<uint32_t>(last) * static_cast<uint32_t>(task.step_y());
    Resizing row = task;
    row.src.data = task.src.row(position >> kResampleFracBits);
    row.src.stride = 0;
    _resize_rows(row, resample, pixel_bytes, last, task.dst.height);
}

// Rows that overlap each other or the source are resized one after the other, pixel by pixel.
ozr_err _resize_bilinear(const Resizing& task, kernels::Resample* kernels::ResampleKernels::*resample,
                         int32_t pixel_bytes)
{
    if (!task.is_sound())
        return ozr_err_invalid_argument;
    const int32_t last = task.dst.height - 1;
    if (task.is_apart(pixel_bytes)) {
        _resize_rows(task, kernels::active()->resample.*resample, pixel_bytes, 0, last);
        _resize_last_row(task, kernels::active()->resample.*resample, pixel_bytes);
        return ozr_success;
    }
    for (int32_t y = 0; y < last; ++y)
        _resize_rows(task, kernels::kScalarKernels.resample.*resample, pixel_bytes, y, y + 1);
    _resize_last_row(task, kernels::kScalarKernels.resample.*resample, pixel_bytes);
    return ozr_success;
}

// Bytes from the source of one output row of sample_image_by_n to that of the next.
// Kept: only steps other than 1 and 2 advance by step_y rows, and they fall short by width % step_x bytes; so the rows of
// a sampled picture begin at other columns than a caller expects.
int64_t _sampling_advance(int64_t width, int64_t stride, int64_t step_x, int64_t step_y)
{
    const int64_t consumed = width / step_x * step_x;
    if (step_x == 1)
        return stride + step_y - 1;
    if (step_x == 2)
        return consumed + (stride - width) + 2 * step_y - 2;
    return consumed + (stride - width) + (step_y - 1) * stride;
}

// The kernel for a row of `width` bytes. The scalar one, byte by byte, where the result overlaps source bytes that are not
// read yet.
kernels::SampleBytesRow* _sample_row_of(const uint8_t* dst, const uint8_t* src, int32_t width)
{
    const uintptr_t ahead = reinterpret_cast<uintptr_t>(dst) - reinterpret_cast<uintptr_t>(src);
    const bool overtakes = ahead > 0 && ahead < static_cast<uintptr_t>(width);
    return (overtakes ? kernels::kScalarKernels : *kernels::active()).resample.sample_bytes_row;
}

}  // namespace

ozr_err resize_grayimage_nn(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                            const uint8_t* src, int32_t src_width, int32_t src_height, int32_t src_stride)
{
    if (dst_width == 0 || dst_height == 0 || src == nullptr || dst == nullptr)
        return ozr_err_invalid_argument;
    if (dst_height < 1)
        return ozr_success;
    return _resize_nearest({{dst, dst_width, dst_height, stride_or_width(dst_stride, dst_width)},
                            {src, src_width, src_height, stride_or_width(src_stride, src_width)}});
}

ozr_err resize_grayimage_bi(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                            const uint8_t* src, int32_t src_width, int32_t src_height, int32_t src_stride)
{
    if (dst_width == 0 || dst_height == 0)
        return ozr_err_invalid_argument;
    if (dst_height < 1)
        return ozr_success;
    return _resize_bilinear(
        {{dst, dst_width, dst_height, dst_stride}, {src, src_width, src_height, src_stride}},
        &kernels::ResampleKernels::gray, 1);
}

ozr_err sample_image_by_n(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t width, int32_t height,
                          int32_t src_stride, int32_t step_x, int32_t step_y)
{
    if (step_x < 1 || step_y < 1 || src == nullptr || dst == nullptr)
        return ozr_err_invalid_argument;
    const int32_t out_width = width / step_x;
    if (out_width < 1)
        return ozr_success;
    // Kept: a step_x of 1 ignores step_y here, so the caller's destination needs `height` rows.
    const int32_t out_height = step_x == 1 ? height : height / step_y;
    const int64_t dst_advance = stride_or_width(dst_stride, out_width);
    const int64_t src_advance = _sampling_advance(width, stride_or_width(src_stride, width), step_x, step_y);
    for (int32_t y = 0; y < out_height; ++y) {
        uint8_t* dst_row = dst + static_cast<ptrdiff_t>(y * dst_advance);
        const uint8_t* src_row = src + static_cast<ptrdiff_t>(y * src_advance);
        if (step_x == 1)
            ozr_memcpy_s(dst_row, static_cast<uint32_t>(width), src_row, static_cast<uint32_t>(width));
        else
            _sample_row_of(dst_row, src_row, width)(dst_row, src_row, out_width, step_x);
    }
    return ozr_success;
}

uint32_t image2mct(const uint8_t* src, uint32_t width, uint32_t height, uint16_t* dst)
{
    if (src == nullptr || dst == nullptr || height <= kCensusMargin)
        return 0;
    const uint32_t positions = (height - kCensusMargin) * width;
    if (positions > kCensusMargin)
        kernels::active()->census.run(dst, src, width, positions - kCensusMargin);
    return 0;
}

ozr_err crop_resize_grayimage_nn(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                                 const uint8_t* src, int32_t src_width, int32_t src_height,
                                 int32_t src_stride, const ozr_rect* crop)
{
    const Resizing whole = {{dst, dst_width, dst_height, stride_or_width(dst_stride, dst_width)},
                            {src, src_width, src_height, stride_or_width(src_stride, src_width)}};
    return _resize_nearest(whole.cropped(crop, 1));
}

ozr_err crop_resize_grayimage_bi(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                                 const uint8_t* src, int32_t src_width, int32_t src_height,
                                 int32_t src_stride, const ozr_rect* crop)
{
    const Resizing whole = {{dst, dst_width, dst_height, dst_stride},
                            {src, src_width, src_height, src_stride}};
    return _resize_bilinear(whole.cropped(crop, 1), &kernels::ResampleKernels::gray, 1);
}

ozr_err crop_resize_RGB(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                        const uint8_t* src, int32_t src_width, int32_t src_height, int32_t src_stride,
                        const ozr_rect* crop)
{
    const Resizing whole = {{dst, dst_width, dst_height, dst_stride},
                            {src, src_width, src_height, src_stride}};
    return _resize_bilinear(whole.cropped(crop, kRgbBytes), &kernels::ResampleKernels::rgb, kRgbBytes);
}
