// The public image record: sizes and strides of each format, creation, copying, release.
#include "ozr_image.h"

#include <stddef.h>

#include "base/plane.h"
#include "ozr_memory.h"
#include "support/image_rows.h"
#include "support/ozr_chain.h"

using namespace ozr;

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ozr_image) == 28 && offsetof(ozr_image, size) == 4 &&
                  offsetof(ozr_image, rotation) == 24,
              "seven 32-bit words");
#endif
static_assert(sizeof(ozr_image_format) == 4, "formats are 32-bit words");

namespace
{

constexpr int32_t kBitsPerPixel[] = {12, 12, 8, 32, 16, 12};
constexpr int32_t kFormats = sizeof(kBitsPerPixel) / sizeof(kBitsPerPixel[0]);
constexpr int64_t kStrideAlignment = 16;
constexpr uint32_t kDataAlignment = 0x1000;

bool _is_known(ozr_image_format format)
{
    return format >= 0 && format < kFormats;
}

bool _is_12_bit(ozr_image_format format)
{
    return format == ozr_image_format_nv12 || format == ozr_image_format_nv21 ||
           format == ozr_image_format_yv12;
}

// Bytes of one row of the first plane. Known formats only.
int64_t _row_bytes(ozr_image_format format, int32_t width)
{
    if (format == ozr_image_format_rgba32)
        return int64_t{4} * width;
    return format == ozr_image_format_yuy2 ? int64_t{2} * width : width;
}

int64_t _choose_stride(ozr_image_format format, int32_t width, int32_t stride)
{
    if (stride < 1)
        return (_row_bytes(format, width) + kStrideAlignment - 1) & -kStrideAlignment;
    // Kept: compared with the width, not with the bytes of a row, so a caller may get a stride shorter than a row.
    return stride > width ? stride : _row_bytes(format, width);
}

bool _fits_32_bits(int64_t value)
{
    return value >= INT32_MIN && value <= INT32_MAX;
}

// Stores stride and size; false when they, or the product on the way to them, do not fit 32 bits.
bool _lay_out(ozr_image* image, int32_t stride)
{
    if (!_is_known(image->format)) {
        image->stride = -1;
        image->size = -1;
        return true;
    }
    const int64_t chosen = _choose_stride(image->format, image->width, stride);
    if (!_fits_32_bits(chosen))
        return false;
    const bool has_chroma = _is_12_bit(image->format);
    const int64_t plane = chosen * image->height;
    if (!_fits_32_bits(plane) || (has_chroma && !_fits_32_bits(plane * 3)))
        return false;
    image->stride = static_cast<int32_t>(chosen);
    image->size = static_cast<int32_t>(has_chroma ? plane * 3 / 2 : plane);
    return true;
}

ozr_err validate_image_copy(const ozr_image* src, const ozr_image* dst)
{
    const bool valid = src != nullptr && dst != nullptr && src->data != nullptr && dst->data != nullptr &&
                       src->width == dst->width && src->height == dst->height && src->format == dst->format;
    return valid ? ozr_success : ozr_err_invalid_argument;
}

// Copies the rows of `dst`; the source has the same size.
void _copy_plane(const Plane& dst, const ConstPlane& src)
{
    if (dst.width < 1)
        return;
    const uint32_t bytes = static_cast<uint32_t>(dst.width);
    for (int32_t y = 0; y < dst.height; ++y)
        ozr_memcpy_s(dst.row(y), bytes, src.row(y), bytes);
}

// The chroma rows and columns of the 12-bit formats are halved with truncation: an odd last one is left out.
void _copy_chroma(const ozr_image* src, const ozr_image* dst)
{
    const int32_t rows = src->height / 2;
    const int32_t columns = src->width / 2;
    const int64_t src_luma = int64_t{src->height} * src->stride;
    const int64_t dst_luma = int64_t{dst->height} * dst->stride;
    uint8_t* const to = dst->data + dst_luma;
    const uint8_t* const from = src->data + src_luma;
    if (src->format != ozr_image_format_yv12) {
        _copy_plane({to, columns * 2, rows, dst->stride}, {from, columns * 2, rows, src->stride});
        return;
    }
    const int32_t to_stride = dst->stride / 2;
    const int32_t from_stride = src->stride / 2;
    _copy_plane({to, columns, rows, to_stride}, {from, columns, rows, from_stride});
    _copy_plane({to + dst_luma / 4, columns, rows, to_stride},
                {from + src_luma / 4, columns, rows, from_stride});
}

}  // namespace

ozr_err ozr_image_create(ozr_image* image, int32_t width, int32_t height, int32_t stride,
                         ozr_image_format format, int32_t rotation)
{
    OZR_RAISE_IF(image == nullptr || image->data != nullptr, ozr_err_invalid_argument);
    image->width = width;
    image->height = height;
    image->format = format;
    OZR_RAISE_IF(!_lay_out(image, stride), ozr_err_invalid_argument);
    // The size of an unknown format, -1, wraps around to a small request here.
    image->data =
        static_cast<uint8_t*>(ozr_malloc_aligned(static_cast<uint32_t>(image->size), kDataAlignment));
    if (image->data == nullptr)
        return raise(ozr_err_nomem, "from image->data = (uint8_t*)ozr_malloc_aligned(image->size, 0x1000)",
                     __func__, __LINE__);
    image->rotation = rotation;
    return ozr_success;
}

void ozr_image_destroy(ozr_image* image)
{
    if (image == nullptr)
        return;
    if (image->data != nullptr)
        ozr_free_aligned(image->data);
    *image = ozr_image{};
}

ozr_err ozr_image_recreate(ozr_image* image, int32_t width, int32_t height, int32_t stride,
                           ozr_image_format format)
{
    OZR_RAISE_IF(image == nullptr, ozr_err_invalid_argument);
    if (image->data != nullptr && image->width == width && image->height == height &&
        image->format == format && (stride < 1 || stride == image->stride))
        return ozr_success;
    ozr_image_destroy(image);
    // Kept: the rotation is read after it was cleared, so an image that is allocated anew has rotation 0.
    OZR_FORWARD(ozr_image_create(image, width, height, stride, format, image->rotation));
    return ozr_success;
}

ozr_err ozr_image_copy(const ozr_image* src, ozr_image* dst)
{
    OZR_FORWARD(validate_image_copy(src, dst));
    OZR_RAISE_IF(!_is_known(src->format), ozr_err_not_supported);
    OZR_RAISE_IF(!image_holds_planes(src) || !image_holds_planes(dst), ozr_err_invalid_argument);
    const int32_t row_bytes = static_cast<int32_t>(_row_bytes(src->format, src->width));
    _copy_plane({dst->data, row_bytes, src->height, dst->stride},
                {src->data, row_bytes, src->height, src->stride});
    if (_is_12_bit(src->format))
        _copy_chroma(src, dst);
    dst->rotation = src->rotation;
    return ozr_success;
}

ozr_err ozr_image_clone(const ozr_image* src, ozr_image* dst)
{
    OZR_RAISE_IF(src == nullptr || src->data == nullptr, ozr_err_invalid_argument);
    OZR_FORWARD(ozr_image_recreate(dst, src->width, src->height, src->stride, src->format));
    OZR_FORWARD(ozr_image_copy(src, dst));
    return ozr_success;
}

int32_t ozr_image_get_bits_per_pixel(const ozr_image* image)
{
    if (image == nullptr)
        return ozr_err_invalid_argument;
    return _is_known(image->format) ? kBitsPerPixel[image->format]
                                    : static_cast<int32_t>(ozr_err_not_supported);
}

int32_t ozr_image_get_channel(const ozr_image* image)
{
    return ozr_image_get_bits_per_pixel(image) / 8;
}
