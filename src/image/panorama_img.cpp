// Working image records: creation, wrapping, cloning, copying, release.
#include "image/panorama_img.h"

#include <algorithm>

#include "base/limits.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"
#include "ozr_memory.h"

using namespace ozr;

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(PanoImg) == 28, "seven 32-bit words");
#endif
static_assert(offsetof(PanoImg, widthCopy) == 20 && offsetof(PanoImg, data) == 24,
              "six words, then the pointer");

namespace
{

void _describe(PanoImg* img, int32_t width, int32_t height, int32_t format)
{
    PanoMemset(img, 0, sizeof(PanoImg));
    img->width = width;
    img->height = height;
    img->format = format;
}

// Stores stride and size, given a format that exists.
PanoResult _lay_out(PanoImg* img, int64_t stride)
{
    const bool has_chroma = pano_is_semi_planar(img->format);
    if (stride > INT32_MAX || !product_fits_32_bits(img->height * stride, has_chroma ? 3 : 1))
        return kPanoBadArgument;
    const int64_t plane = img->height * stride;
    img->stride = static_cast<int32_t>(stride);
    img->size = static_cast<int32_t>(has_chroma ? (plane * 3) >> 1 : plane);
    return kPanoSuccess;
}

PanoResult _lay_out_packed(PanoImg* img)
{
    const int64_t row_bytes = pano_row_bytes(img->format, img->width);
    return row_bytes < 0 ? kPanoNotSupported : _lay_out(img, row_bytes);
}

PanoResult _lay_out_padded(PanoImg* img, int32_t stride)
{
    img->widthCopy = img->width;
    img->stride = stride;
    const int64_t row_bytes = pano_row_bytes(img->format, img->width);
    if (row_bytes < 0)
        return kPanoNotSupported;
    return stride < row_bytes ? kPanoBadArgument : _lay_out(img, stride);
}

// Clears the bytes behind the last row.
void _clear_rest(PanoImg* img)
{
    const int32_t rows = pano_is_semi_planar(img->format) ? img->height + img->height / 2 : img->height;
    const int32_t covered = rows * img->stride;
    PanoMemset(img->data + covered, 0, static_cast<uint32_t>(img->size - covered));
}

PanoResult _allocate(PanoImg* img)
{
    img->data = static_cast<uint8_t*>(ozr_calloc(static_cast<uint32_t>(img->size), 1));
    return img->data != nullptr ? kPanoSuccess : kPanoNoMemory;
}

PanoResult _describe_aligned(PanoImg* img, int32_t width, int32_t height, int32_t format)
{
    if (img == nullptr || width < 1 || height < 1)
        return kPanoBadArgument;
    _describe(img, width, height, format);
    img->widthCopy = width;
    return _lay_out_packed(img);
}

// The aligned address is never null; the start of the block is, when memory is out.
PanoResult _check_block(PanoImg* img, const void* raw_block)
{
    if (raw_block != nullptr)
        return kPanoSuccess;
    img->data = nullptr;
    return kPanoNoMemory;
}

// One axis of a placed copy: its start in both pictures, and its length.
struct Span {
    int32_t dst;
    int32_t src;
    int64_t length;
};

Span _place(int32_t position, int32_t dst_size, int32_t src_size)
{
    const int64_t dst = std::max(position, 0);
    const int64_t src = -std::min(int64_t{position}, int64_t{0});
    const int64_t length = std::min(dst_size - dst, src_size - src);
    return {static_cast<int32_t>(dst), static_cast<int32_t>(std::min<int64_t>(src, INT32_MAX)), length};
}

struct Placement {
    Span x;
    Span y;
};

void _copy_plane(PanoImg* dst, const PanoImg* src, const Placement& at, uint32_t pixel_bytes)
{
    const uint32_t row_bytes = static_cast<uint32_t>(at.x.length) * pixel_bytes;
    const ptrdiff_t pixel = static_cast<ptrdiff_t>(pixel_bytes);
    for (int32_t i = 0; i < at.y.length; ++i)
        PanoMemcpy(pano_row(dst, at.y.dst + i) + at.x.dst * pixel,
                   pano_row(src, at.y.src + i) + at.x.src * pixel, row_bytes);
}

void _copy_chroma(PanoImg* dst, const PanoImg* src, const Placement& at)
{
    const uint32_t row_bytes = static_cast<uint32_t>(at.x.length) & ~1U;
    for (int32_t i = 0; i < at.y.length >> 1; ++i)
        PanoMemcpy(pano_chroma_row(dst, (at.y.dst >> 1) + i) + (at.x.dst & ~1),
                   pano_chroma_row(src, (at.y.src >> 1) + i) + (at.x.src & ~1), row_bytes);
}

}  // namespace

bool ozr::pano_has_whole_rows(const PanoImg* img, int64_t row_bytes)
{
    const int64_t plane = int64_t{img->height} * img->stride;
    // The addresses of rows with a negative stride may not fit, even where the rows have no
    // columns.
    const bool goes_up = img->height > 0 && img->stride < 0;
    return !goes_up && img->stride >= row_bytes && std::max(plane, pano_geometry_size(img)) <= INT32_MAX;
}

int32_t PanoImg_Create(PanoImg* img, int32_t width, int32_t height, int32_t format)
{
    if (width <= 0 || height <= 0 || img == nullptr)
        return kPanoBadArgument;
    _describe(img, width, height, format);
    PANO_FORWARD(_lay_out_packed(img));
    return _allocate(img);
}

PanoResult ozr::pano_create_unfilled(PanoImg* img, int32_t width, int32_t height, int32_t format)
{
    if (width <= 0 || height <= 0 || img == nullptr)
        return kPanoBadArgument;
    _describe(img, width, height, format);
    PANO_FORWARD(_lay_out_packed(img));
    img->data = static_cast<uint8_t*>(ozr_malloc(static_cast<uint32_t>(img->size)));
    if (img->data == nullptr)
        return kPanoNoMemory;
    _clear_rest(img);
    return kPanoSuccess;
}

int32_t PanoImg_CreateAligned(PanoImg* img, int32_t width, int32_t height, int32_t format, void** rawBlock)
{
    if (rawBlock == nullptr)
        return kPanoBadArgument;
    PANO_FORWARD(_describe_aligned(img, width, height, format));
    img->data = static_cast<uint8_t*>(AlignedCalloc(static_cast<uint32_t>(img->size), 1, rawBlock));
    return _check_block(img, *rawBlock);
}

int32_t PanoImg_CreateRef(PanoImg* img, uint8_t* data, int32_t width, int32_t height, int32_t stride,
                          int32_t format)
{
    if (width <= 0 || height <= 0 || img == nullptr)
        return kPanoBadArgument;
    _describe(img, width, height, format);
    PANO_FORWARD(_lay_out_padded(img, stride));
    if (data == nullptr)
        return _allocate(img);
    img->data = data;
    return kPanoSuccess;
}

void PanoImg_Destroy(PanoImg* img)
{
    if (img == nullptr || img->data == nullptr)
        return;
    ozr_free(img->data);
    img->data = nullptr;
}

void PanoImg_DestroyAligned(PanoImg* img, void** rawBlock)
{
    if (img != nullptr && img->data != nullptr)
        PanoMemset(img, 0, sizeof(PanoImg));
    if (rawBlock != nullptr && *rawBlock != nullptr) {
        ozr_free(*rawBlock);
        *rawBlock = nullptr;
    }
}

int32_t PanoImg_Clone(const PanoImg* src, PanoImg* dst)
{
    if (src == nullptr || dst == nullptr || src->data == nullptr || src->size < 0)
        return kPanoBadArgument;
    const PanoImg source = *src;  // survives even when both are the same record
    PANO_FORWARD(PanoImg_CreateRef(dst, nullptr, source.width, source.height, source.stride, source.format));
    PanoMemcpy(dst->data, source.data, static_cast<uint32_t>(std::min(source.size, dst->size)));
    return kPanoSuccess;
}

int32_t PanoImg_CopyEx(PanoImg* dst, const PanoImg* src, int32_t x, int32_t y)
{
    if (dst == nullptr || src == nullptr)
        return kPanoNullArgument;
    if (dst->format != src->format)
        return kPanoNotSupported;
    const Placement at = {_place(x, dst->width, src->width), _place(y, dst->height, src->height)};
    if (at.x.length < 1 || at.y.length < 1)
        return kPanoSuccess;
    const int64_t pixel_bytes = pano_row_bytes(src->format, 1);
    if (pixel_bytes < 0 || src->format == kPanoYuyv)
        return kPanoNotSupported;
    if (dst->data == nullptr || src->data == nullptr)
        return kPanoNullArgument;
    if (!pano_has_whole_rows(dst, dst->width * pixel_bytes) ||
        !pano_has_whole_rows(src, src->width * pixel_bytes))
        return kPanoBadArgument;
    _copy_plane(dst, src, at, static_cast<uint32_t>(pixel_bytes));
    if (pano_is_semi_planar(src->format))
        _copy_chroma(dst, src, at);
    return kPanoSuccess;
}

PanoResult PanoImgOwner::create(int32_t width, int32_t height, int32_t format)
{
    if (start_ == kAtBlock)
        return pano_create_unfilled(&img_, width, height, format);
    PANO_FORWARD(_describe_aligned(&img_, width, height, format));
    img_.data = static_cast<uint8_t*>(pano_aligned_malloc(static_cast<uint32_t>(img_.size), &block_));
    PANO_FORWARD(_check_block(&img_, block_));
    _clear_rest(&img_);
    return kPanoSuccess;
}

PanoResult PanoImgOwner::copy(const PanoImg* src)
{
    if (start_ == kAtBlock)
        return as_result(PanoImg_Clone(src, &img_));
    if (src == nullptr || src->data == nullptr || src->size < 0 || src->width <= 0 || src->height <= 0)
        return kPanoBadArgument;
    _describe(&img_, src->width, src->height, src->format);
    PANO_FORWARD(_lay_out_padded(&img_, src->stride));
    img_.data = static_cast<uint8_t*>(AlignedCalloc(static_cast<uint32_t>(img_.size), 1, &block_));
    PANO_FORWARD(_check_block(&img_, block_));
    PanoMemcpy(img_.data, src->data, static_cast<uint32_t>(std::min(src->size, img_.size)));
    return kPanoSuccess;
}

void PanoImgOwner::reset()
{
    ozr_free(block_ != nullptr ? block_ : img_.data);
    block_ = nullptr;
    img_.data = nullptr;
}

PanoImg PanoImgOwner::release(void** raw_block)
{
    const PanoImg released = img_;
    if (raw_block != nullptr)
        *raw_block = block_;
    block_ = nullptr;
    img_.data = nullptr;
    return released;
}
