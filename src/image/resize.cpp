// Resampling of working images: one step for each axis of a picture; positions advance by addition.
#include <string.h>

#include <algorithm>

#include "base/limits.h"
#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "kernels/kernels.h"

using namespace ozr;

namespace
{

struct Steps {
    uint32_t x;
    uint32_t y;
};

bool _has_pixels(const PanoImg* dst, const PanoImg* src)
{
    return dst != nullptr && src != nullptr && dst->data != nullptr && src->data != nullptr;
}

bool _is_same_size(const PanoImg* dst, const PanoImg* src)
{
    return dst->width == src->width && dst->height == src->height;
}

// Whether the stride holds rows of pixels of this many bytes.
bool _has_whole_rows(const PanoImg* img, int32_t pixel_bytes)
{
    return pano_has_whole_rows(img, int64_t{img->width} * pixel_bytes);
}

// (source - 1) / destination pixels: the first sample is at the first source pixel and the last one
// before the last, so that its right-hand neighbour exists. False where the division or a position
// would overflow.
bool _step(int32_t src, int32_t dst, uint32_t* step)
{
    constexpr int32_t kMaxPixels = INT32_MAX >> kResampleFracBits;
    if (src < 1 || src - 1 > kMaxPixels || dst == 0)
        return false;
    // A negative destination size has a step, but no samples.
    *step = static_cast<uint32_t>(((src - 1) << kResampleFracBits) / dst);
    return true;
}

bool _steps(const PanoImg* dst, const PanoImg* src, Steps* steps)
{
    return _step(src->width, dst->width, &steps->x) && _step(src->height, dst->height, &steps->y);
}

// The number of rows that have pixels: 0 for a picture without columns, whatever its height.
int32_t _row_count(const PanoImg* img)
{
    return img->width > 0 ? img->height : 0;
}

int32_t _pixel(uint32_t position)
{
    return static_cast<int32_t>(position >> kResampleFracBits);
}

void _resample_luma(PanoImg* dst, const PanoImg* src, Steps steps, kernels::Resample* resample)
{
    resample(dst->data, dst->stride,
             {src->data, src->stride, steps.x, steps.y, 0, dst->width, _row_count(dst)});
}

// The rows of the result need a source row below theirs, or become black. Positions end before the
// last source row, unless it is the only one.
void _resample_gray(PanoImg* dst, const PanoImg* src, Steps steps, kernels::Resample* resample)
{
    if (src->height > 1) {
        _resample_luma(dst, src, steps, resample);
        return;
    }
    for (int32_t y = 0; y < _row_count(dst); ++y)
        memset(pano_row(dst, y), 0, static_cast<size_t>(dst->width));
}

// Where a row of pairs begins in the buffer. A record that is not semi-planar has no such rows: the
// place may be behind the buffer, and becomes an address only after _bytes_from().
int64_t _chroma_offset(const PanoImg* img, int32_t y)
{
    return (int64_t{img->height} + y) * img->stride;
}

// The bytes from a place to the end of the buffer, whose length is the larger of size and geometry.
int64_t _bytes_from(const PanoImg* img, int64_t offset)
{
    return std::max(int64_t{img->size}, pano_geometry_size(img)) - offset;
}

kernels::PairsRow _pairs_from(const PanoImg* img, int64_t offset)
{
    return {img->data + offset, static_cast<int32_t>(std::min<int64_t>(_bytes_from(img, offset), INT32_MAX))};
}

// Kept: the luma steps are used unchanged on the chroma plane of half the size, so the chroma is up
// to half a sample too far right and down at the ends of rows and columns.
void _resample_chroma(PanoImg* dst, const PanoImg* src, Steps steps)
{
    const kernels::Kernels* kernels = kernels::active();
    // An odd width gets a whole last pair.
    const int64_t row_bytes = (int64_t{dst->width} + 1) & ~int64_t{1};
    uint32_t position = 0;
    for (int32_t y = 0; 2 * int64_t{y} < dst->height; ++y, position += steps.y) {
        const int64_t row = _chroma_offset(dst, y);
        const int64_t top = _chroma_offset(src, _pixel(position));
        const int64_t bytes = std::min(row_bytes, _bytes_from(dst, row));
        if (_bytes_from(src, top) < 1 || bytes < 1)
            return;
        int64_t bottom = (position & kResampleFracMask) != 0 ? top + src->stride : top;
        // Enlarging reaches beyond the last chroma row: it is then its own lower neighbour.
        if (_bytes_from(src, bottom) < 1)
            bottom = top;
        const kernels::PairsRows rows = {_pairs_from(src, top), _pairs_from(src, bottom),
                                         position & kResampleFracMask};
        kernels->resample.pairs_row(dst->data + row, static_cast<int32_t>(bytes), rows, steps.x);
    }
}

}  // namespace

int32_t PanoImg_ResizeGray(PanoImg* dst, const PanoImg* src)
{
    if (!_has_pixels(dst, src) || !_has_whole_rows(dst, 1) || !_has_whole_rows(src, 1))
        return kPanoBadArgument;
    if (_is_same_size(dst, src)) {
        const size_t row_bytes = static_cast<size_t>(std::max(dst->width, 0));
        if (dst->stride == src->stride) {
            // Kept: height times width bytes, not height times stride, so the last rows of a padded
            // destination keep their old pixels.
            memcpy(dst->data, src->data, row_bytes * static_cast<size_t>(std::max(dst->height, 0)));
            return kPanoSuccess;
        }
        for (int32_t y = 0; y < _row_count(dst); ++y)
            memcpy(pano_row(dst, y), pano_row(src, y), row_bytes);
        return kPanoSuccess;
    }
    Steps steps = {};
    if (!_steps(dst, src, &steps))
        return kPanoBadArgument;
    _resample_gray(dst, src, steps, kernels::active()->resample.gray);
    return kPanoSuccess;
}

int32_t PanoImg_ResizeGrayYUYV(PanoImg* dst, const PanoImg* src)
{
    if (!_has_pixels(dst, src) || !_has_whole_rows(dst, 1) || !_has_whole_rows(src, 2))
        return kPanoBadArgument;
    const kernels::Kernels* kernels = kernels::active();
    if (_is_same_size(dst, src)) {
        for (int32_t y = 0; y < _row_count(dst); ++y)
            kernels->resample.yuyv_luma_row(pano_row(dst, y), pano_row(src, y), dst->width);
        return kPanoSuccess;
    }
    Steps steps = {};
    if (!_steps(dst, src, &steps))
        return kPanoBadArgument;
    _resample_gray(dst, src, steps, kernels->resample.yuyv);
    return kPanoSuccess;
}

int32_t PanoImg_ResizeHalfGray(PanoImg* dst, const PanoImg* src)
{
    if (!_has_pixels(dst, src) || dst->width != src->width >> 1 || dst->height != src->height >> 1 ||
        !_has_whole_rows(dst, 1) || !_has_whole_rows(src, 1))
        return kPanoBadArgument;
    const kernels::Kernels* kernels = kernels::active();
    for (int32_t y = 0; y < _row_count(dst); ++y)
        kernels->resample.half_gray_row(pano_row(dst, y), pano_row(src, 2 * y), pano_row(src, 2 * y + 1),
                                        dst->width);
    return kPanoSuccess;
}

int32_t PanoImg_ResizeYUV(PanoImg* dst, const PanoImg* src)
{
    Steps steps = {};
    if (!_has_pixels(dst, src) || !_has_whole_rows(dst, 1) || !_has_whole_rows(src, 1) ||
        !_steps(dst, src, &steps))
        return kPanoBadArgument;
    _resample_luma(dst, src, steps, kernels::active()->resample.gray);
    _resample_chroma(dst, src, steps);
    return kPanoSuccess;
}
