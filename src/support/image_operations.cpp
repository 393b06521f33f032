// Operations on whole images that keep to the sample grid: the mirror and the grey subsampling.
#include "kernels/kernels.h"
#include "ozr_image.h"
#include "ozr_memory.h"
#include "support/image_rows.h"

using namespace ozr;

namespace
{

void _mirror_rows(const ozr_image* image, int32_t first, int32_t end, int32_t width,
                  void (*mirror_row)(uint8_t* row, int32_t width))
{
    for (int32_t y = first; y < end; ++y)
        mirror_row(image_row(image, y), width);
}

// Makes dst a grey image of this size. Kept: an image that has pixels and this size keeps its format, whichever it is.
ozr_err _shape_gray(ozr_image* dst, const ozr_image* src, int32_t width, int32_t height)
{
    if (dst->width != width || dst->height != height || dst->data == nullptr) {
        if (dst->data == src->data)
            return ozr_err_invalid_argument;  // reshaping would release the source
        ozr_image_destroy(dst);
        if (ozr_image_create(dst, width, height, 0, ozr_image_format_gray, src->rotation) != ozr_success)
            return ozr_err_nomem;
    }
    dst->rotation = src->rotation;
    return ozr_success;
}

// Copies the first plane with its padding; both images have the same geometry.
void _copy_plane(const ozr_image* dst, const ozr_image* src)
{
    const uint32_t bytes = static_cast<uint32_t>(src->stride) * static_cast<uint32_t>(src->height);
    ozr_memcpy_s(dst->data, bytes, src->data, bytes);
}

// Copies every n-th luma sample of every n-th row; samples are `pixel_bytes` apart.
void _sample_luma(const ozr_image* dst, const ozr_image* src, int32_t n, int32_t pixel_bytes)
{
    kernels::SampleBytesRow* const sample_row = kernels::active()->resample.sample_bytes_row;
    for (int32_t y = 0; y < dst->height; ++y)
        sample_row(image_row(dst, y), image_row(src, y * n), dst->width, int64_t{n} * pixel_bytes);
}

void _sample_rgba(const ozr_image* dst, const ozr_image* src, int32_t n)
{
    kernels::RgbaToLumaRow* const sample_row = kernels::active()->colour.rgba_to_luma_row;
    for (int32_t y = 0; y < dst->height; ++y)
        sample_row(image_row(dst, y), image_row(src, y * n), dst->width, n);
}

// Whether a subsampling by n reads and writes inside the images only.
bool _holds_samples(const ozr_image* dst, const ozr_image* src, int32_t n, int32_t pixel_bytes)
{
    const int64_t sample_bytes = src->format == ozr_image_format_rgba32 ? 3 : 1;
    const int64_t row_bytes = int64_t{dst->width - 1} * n * pixel_bytes + sample_bytes;
    return image_holds_rows(src, row_bytes, int64_t{dst->height - 1} * n + 1) &&
           image_holds_rows(dst, dst->width, dst->height);
}

}  // namespace

ozr_err ozr_image_hflip(ozr_image* image)
{
    if (image == nullptr)
        return ozr_err_invalid_argument;
    const bool is_rgba = image->format == ozr_image_format_rgba32;
    const bool has_pairs = image->format == ozr_image_format_nv12 || image->format == ozr_image_format_nv21;
    if (!is_rgba && !has_pairs && image->format != ozr_image_format_gray)
        return ozr_err_not_supported;
    if (!image_holds_planes(image))
        return ozr_err_invalid_argument;
    const kernels::Kernels* kernels = kernels::active();
    const int32_t rows = image_row_count(image);
    _mirror_rows(image, 0, rows, image->width,
                 is_rgba ? kernels->mirror.quads_row : kernels->mirror.bytes_row);
    if (has_pairs)
        _mirror_rows(image, rows, rows + rows / 2, image->width, kernels->mirror.pairs_row);
    return ozr_success;
}

ozr_err ozr_image_sample_gray(ozr_image* dst, const ozr_image* src, int32_t n)
{
    if (dst == nullptr || src == nullptr || n < 1 || src->data == nullptr)
        return ozr_err_invalid_argument;
    const ozr_err shaped = _shape_gray(dst, src, src->width / n, src->height / n);
    if (shaped != ozr_success)
        return shaped;
    const int32_t pixel_bytes = ozr_image_get_channel(src);
    if (pixel_bytes == 0)
        return ozr_err_not_supported;
    if (dst->width < 1 || dst->height < 1)
        return ozr_success;
    if (!_holds_samples(dst, src, n, pixel_bytes))
        return ozr_err_invalid_argument;
    if (src->format == ozr_image_format_rgba32)
        _sample_rgba(dst, src, n);
    else if (pixel_bytes == 1 && n == 1 && dst->stride == src->stride)
        _copy_plane(dst, src);
    else
        _sample_luma(dst, src, n, pixel_bytes);
    return ozr_success;
}
