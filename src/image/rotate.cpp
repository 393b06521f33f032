// Quarter turns of semi-planar pictures, and their conversion to RGBA.
#include <string.h>

#include <algorithm>

#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "kernels/kernels.h"

using namespace ozr;

namespace
{

// The map of the elements of one plane: element (x, y) of the source goes to the byte
// origin + y * per_row + x * per_column of the destination.
struct Turn {
    int64_t origin;
    int64_t per_row;
    int64_t per_column;
};

struct SourcePlane {
    int64_t offset;
    int32_t columns;
    int32_t rows;
    int32_t element_bytes;
};

int32_t _half_up(int32_t size)
{
    return static_cast<int32_t>((int64_t{size} + 1) / 2);
}

PanoResult _check_rotation(const PanoImg* dst, const PanoImg* src)
{
    if (dst == nullptr || src == nullptr)
        return kPanoBadArgument;
    if (src->format != kPanoNv12 || dst->format != kPanoNv12)
        return kPanoNotSupported;
    if (src->data == nullptr || dst->data == nullptr)
        return kPanoNullArgument;
    const bool whole = pano_has_whole_rows(src, src->width) && pano_has_whole_rows(dst, dst->width);
    return whole ? kPanoSuccess : kPanoBadArgument;
}

// Whether no byte needs a check, because the formulas stay inside both geometries: there are pixels,
// and even sizes, those of the destination being the swapped ones of the source.
bool _is_regular(const PanoImg* dst, const PanoImg* src)
{
    if (src->width < 1 || src->height < 1)
        return false;
    const bool even = (src->width & 1) == 0 && (src->height & 1) == 0;
    return even && dst->width == src->height && dst->height == src->width;
}

SourcePlane _luma_of(const PanoImg* src)
{
    return {0, src->width, src->height, 1};
}

SourcePlane _chroma_of(const PanoImg* src)
{
    return {int64_t{src->height} * src->stride, _half_up(src->width),
            src->height < 1 ? 0 : _half_up(src->height), 2};
}

// With odd sizes the last chroma pair of a row, or the last row, covers a block that is half
// outside the picture: it may be beside its row or behind the last plane. Bytes outside either
// buffer are left out.
void _turn_guarded(PanoImg* dst, const PanoImg* src, const SourcePlane& plane, const Turn& turn)
{
    for (int32_t y = 0; y < plane.rows; ++y) {
        const int64_t row = plane.offset + int64_t{y} * src->stride;
        const int64_t row_bytes = std::min(int64_t{plane.columns} * plane.element_bytes, src->size - row);
        if (row_bytes < 1)
            return;
        for (int64_t x = 0; x < row_bytes; ++x) {
            const int64_t to = turn.origin + y * turn.per_row + x / plane.element_bytes * turn.per_column +
                               x % plane.element_bytes;
            if (to >= 0 && to < dst->size)
                dst->data[to] = src->data[row + x];
        }
    }
}

// Clears the bytes [begin, end) as far as they are inside the buffer.
void _clear(const PanoImg* img, int64_t begin, int64_t end)
{
    const int64_t inside = std::min(end, int64_t{img->size});
    if (begin < inside)
        memset(img->data + begin, 0, static_cast<size_t>(inside - begin));
}

// One plane of a picture, its sides reduced.
kernels::RotateTask _task(const uint8_t* plane, const PanoImg* src, int32_t reduced)
{
    return {plane, src->stride, src->width / reduced, src->height / reduced};
}

}  // namespace

int32_t PanoImg_RotateCW90(PanoImg* dst, const PanoImg* src)
{
    PANO_FORWARD(_check_rotation(dst, src));
    if (_is_regular(dst, src)) {
        const kernels::Kernels* kernels = kernels::active();
        kernels->rotate.bytes_cw(dst->data, dst->stride, _task(src->data, src, 1));
        kernels->rotate.pairs_cw(pano_chroma_row(dst, 0), dst->stride,
                                 _task(pano_chroma_row(src, 0), src, 2));
        return kPanoSuccess;
    }
    const int64_t chroma = int64_t{dst->height} * dst->stride;
    const int64_t last_pair = ((int64_t{dst->width} + 1) & ~int64_t{1}) - 2;
    _turn_guarded(dst, src, _luma_of(src), {int64_t{dst->width} - 1, -1, dst->stride});
    _turn_guarded(dst, src, _chroma_of(src), {chroma + last_pair, -2, dst->stride});
    return kPanoSuccess;
}

int32_t PanoImg_RotateCW270(PanoImg* dst, const PanoImg* src)
{
    PANO_FORWARD(_check_rotation(dst, src));
    if (_is_regular(dst, src)) {
        const kernels::Kernels* kernels = kernels::active();
        kernels->rotate.bytes_ccw(dst->data, dst->stride, _task(src->data, src, 1));
        kernels->rotate.pairs_ccw(pano_chroma_row(dst, 0), dst->stride,
                                  _task(pano_chroma_row(src, 0), src, 2));
        return kPanoSuccess;
    }
    const int64_t stride = dst->stride;
    const int64_t chroma = dst->height * stride;
    _turn_guarded(dst, src, _luma_of(src), {(int64_t{dst->height} - 1) * stride, 1, -stride});
    _turn_guarded(dst, src, _chroma_of(src), {chroma + (_half_up(dst->height) - 1) * stride, 2, -stride});
    return kPanoSuccess;
}

int32_t PanoImg_ConvertYUV2RGBA(PanoImg* dst, const PanoImg* src)
{
    if (src == nullptr || dst == nullptr)
        return kPanoBadArgument;
    if (src->data == nullptr || dst->data == nullptr)
        return kPanoNullArgument;
    if (src->format != kPanoNv12 || dst->format != kPanoRgba)
        return kPanoNotSupported;
    if (!pano_has_whole_rows(src, src->width) ||
        !pano_has_whole_rows(dst, pano_row_bytes(kPanoRgba, dst->width)))
        return kPanoBadArgument;
    const int32_t width = std::max(std::min(src->width, dst->width), 0) & ~1;
    const int32_t height = width == 0 ? 0 : std::max(std::min(src->height, dst->height), 0) & ~1;
    const int64_t row_bytes = pano_row_bytes(kPanoRgba, width);
    const kernels::Kernels* kernels = kernels::active();
    for (int32_t y = 0; y < height; ++y) {
        kernels->colour.yvu_to_rgba_row(pano_row(dst, y), pano_row(src, y), pano_chroma_row(src, y >> 1),
                                        width / 2);
        const int64_t row = int64_t{y} * dst->stride;
        _clear(dst, row + row_bytes, row + dst->stride);
    }
    _clear(dst, int64_t{height} * dst->stride, dst->size);
    return kPanoSuccess;
}
