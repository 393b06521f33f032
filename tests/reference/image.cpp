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

// A record that is refused keeps what was written before.
int32_t describe(PanoImg* out, const PanoImg& record)
{
    if (record.width < 1 || record.height < 1)
        return kBad;
    *out = record;
    if (record.format < 0 || record.format > 5)
        return kUnsupported;
    if (!is_possible(record))
        return kBad;
    const int32_t plane = record.height * record.stride;
    out->size = has_chroma(record) ? plane * 3 / 2 : plane;
    return 0;
}

struct Place {
    const PanoImg* img;
    int64_t byte, row;
};

void copy_rows(const Place& to, const Place& from, int64_t bytes, int64_t rows)
{
    for (int64_t i = 0; i < rows * bytes; ++i)
        at(*to.img, to.row + i / bytes, to.byte + i % bytes) =
            at(*from.img, from.row + i / bytes, from.byte + i % bytes);
}

}  // namespace

int32_t create(PanoImg* record, int32_t width, int32_t height, int32_t format, bool aligned)
{
    const int32_t stride = format >= 0 && format <= 5 ? static_cast<int32_t>(row_bytes(format, width)) : 0;
    const int32_t result = describe(record, {format, width, height, stride, 0, aligned ? width : 0, nullptr});
    if (result != 0 && width > 0 && height > 0)
        record->stride = 0;
    return result;
}

int32_t create_ref(PanoImg* record, int32_t width, int32_t height, int32_t stride, int32_t format)
{
    return describe(record, {format, width, height, stride, 0, width, nullptr});
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
    copy_rows({dst, dx * pixel, dy}, {src, sx * pixel, sy}, w * pixel, h);
    if (has_chroma(*dst) && w > 1)
        copy_rows({dst, dx / 2 * 2, dst->height + dy / 2}, {src, sx / 2 * 2, src->height + sy / 2}, w / 2 * 2,
                  h / 2);
    return 0;
}

}  // namespace ozr_reference
