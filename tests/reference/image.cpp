#include "reference/image.h"

#include <algorithm>

namespace ozr_reference
{

int64_t row_bytes(int32_t format, int32_t width)
{
    return int64_t{width} * (format < kPanoYuyv ? 1 : format - 1);
}

bool has_chroma(const PanoImg& img)
{
    return img.format == kPanoNv12 || img.format == kPanoNv21;
}

bool is_possible(const PanoImg& img)
{
    return img.stride >= row_bytes(img.format, img.width) &&
           int64_t{img.height} * img.stride <= INT32_MAX / (has_chroma(img) ? 3 : 1);
}

uint8_t* byte_at(const PanoImg& img, int64_t y, int64_t byte)
{
    return y * img.stride + byte < img.size ? &at(img, y, byte) : nullptr;
}

namespace
{

int32_t describe(Picture* picture, int32_t width, int32_t height, int32_t stride, int32_t format,
                 int32_t width_copy)
{
    if (width < 1 || height < 1)
        return kBad;
    picture->img = {format, width, height, stride, 0, width_copy, nullptr};
    if (format < 0 || format > 5)
        return kUnsupported;
    if (!is_possible(picture->img))
        return kBad;
    picture->img.size = has_chroma(picture->img) ? height * stride * 3 / 2 : height * stride;
    picture->bytes.assign(static_cast<size_t>(picture->img.size), 0);
    picture->record();
    return 0;
}

// Copies from byte `sx` of row `sy` to byte `dx` of row `dy`.
void copy_rows(PanoImg* dst, int64_t dx, int64_t dy, const PanoImg* src, int64_t sx, int64_t sy,
               int64_t bytes, int64_t rows)
{
    for (int64_t i = 0; i < rows * bytes; ++i)
        at(*dst, dy + i / bytes, dx + i % bytes) = at(*src, sy + i / bytes, sx + i % bytes);
}

}  // namespace

int32_t create(Picture* picture, int32_t width, int32_t height, int32_t format, bool aligned)
{
    const int32_t stride = format >= 0 && format <= 5 ? static_cast<int32_t>(row_bytes(format, width)) : 0;
    const int32_t result = describe(picture, width, height, stride, format, aligned ? width : 0);
    if (result != 0 && picture->bytes.empty() && width > 0 && height > 0)
        picture->img.stride = 0;
    return result;
}

int32_t create_ref(Picture* picture, int32_t width, int32_t height, int32_t stride, int32_t format)
{
    return describe(picture, width, height, stride, format, width);
}

int32_t clone(const PanoImg* src, Picture* dst)
{
    if (src == nullptr || src->data == nullptr)
        return kBad;
    const PanoImg from = *src;
    const int32_t result = create_ref(dst, from.width, from.height, from.stride, from.format);
    if (result == 0)
        std::copy_n(from.data, std::min(from.size, dst->img.size), dst->bytes.begin());
    return result;
}

int32_t copy(PanoImg* dst, const PanoImg* src, int32_t x, int32_t y)
{
    if (dst == nullptr || src == nullptr)
        return kNull;
    if (dst->format != src->format)
        return kUnsupported;
    const int64_t dx = std::max(x, 0), dy = std::max(y, 0), sx = dx - x, sy = dy - y;
    const int64_t w = std::min(dst->width - dx, src->width - sx),
                  h = std::min(dst->height - dy, src->height - sy);
    if (w < 1 || h < 1)
        return 0;
    if (dst->format == kPanoYuyv || dst->format < 0 || dst->format > 5)
        return kUnsupported;
    if (dst->data == nullptr || src->data == nullptr)
        return kNull;
    if (!is_possible(*dst) || !is_possible(*src))
        return kBad;
    const int64_t pixel = row_bytes(dst->format, 1);
    copy_rows(dst, dx * pixel, dy, src, sx * pixel, sy, w * pixel, h);
    if (has_chroma(*dst) && w > 1)
        copy_rows(dst, dx / 2 * 2, dst->height + dy / 2, src, sx / 2 * 2, src->height + sy / 2, w / 2 * 2,
                  h / 2);
    return 0;
}

}  // namespace ozr_reference
