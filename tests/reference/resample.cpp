#include <algorithm>

#include "reference/image.h"

namespace ozr_reference
{
namespace
{

// Positions count 1024ths of a pixel; the last sample stops short of the last source pixel.
int32_t step(int32_t src, int32_t dst)
{
    return (src - 1) * 1024 / dst;
}

// With sides of so many pixels at least.
bool can_scale(const PanoImg* dst, const PanoImg* src, int32_t least = 1)
{
    for (const PanoImg* img : {dst, src}) {
        if (img == nullptr || img->data == nullptr || img->width < least || img->height < least ||
            !is_possible(*img))
            return false;
    }
    return true;
}

// Grey from every `pixel_bytes`-th byte of the source.
int32_t resize_luma(PanoImg* dst, const PanoImg* src, int32_t pixel_bytes)
{
    if (!can_scale(dst, src))
        return kBad;
    const bool copies = dst->width == src->width && dst->height == src->height;
    if (copies && pixel_bytes == 1 && dst->stride == src->stride) {
        std::copy_n(src->data, dst->height * dst->width, dst->data);
        return 0;
    }
    const int32_t step_x = copies ? 1024 : step(src->width, dst->width),
                  step_y = copies ? 1024 : step(src->height, dst->height);
    for (int32_t y = 0; y < dst->height; ++y) {
        const bool black = !copies && y * step_y / 1024 + 1 >= src->height;
        for (int32_t x = 0; x < dst->width; ++x) {
            const int32_t value = bilinear(x * step_x, y * step_y, [&](int32_t column, int32_t row) {
                return at(*src, row, column * pixel_bytes);
            });
            at(*dst, y, x) = static_cast<uint8_t>(black ? 0 : value);
        }
    }
    return 0;
}

}  // namespace

int32_t resize_gray(PanoImg* dst, const PanoImg* src)
{
    return resize_luma(dst, src, 1);
}

int32_t resize_gray_yuyv(PanoImg* dst, const PanoImg* src)
{
    return resize_luma(dst, src, 2);
}

int32_t resize_half_gray(PanoImg* dst, const PanoImg* src)
{
    if (!can_scale(dst, src, 0) || dst->width != src->width >> 1 || dst->height != src->height >> 1)
        return kBad;
    for (int32_t y = 0; y < dst->height; ++y) {
        for (int32_t x = 0; x < dst->width; ++x) {
            const int32_t sum = at(*src, 2 * y, 2 * x) + at(*src, 2 * y, 2 * x + 1) +
                                at(*src, 2 * y + 1, 2 * x) + at(*src, 2 * y + 1, 2 * x + 1);
            at(*dst, y, x) = static_cast<uint8_t>(sum / 4);
        }
    }
    return 0;
}

int32_t resize_yuv(PanoImg* dst, const PanoImg* src, uint8_t beyond)
{
    if (!can_scale(dst, src))
        return kBad;
    const int32_t step_x = step(src->width, dst->width), step_y = step(src->height, dst->height);
    const auto put = [&](int32_t x, int32_t y, int32_t at_x, int32_t at_y, auto pixel) {
        if (uint8_t* const out = byte_at(*dst, y, x))
            *out = static_cast<uint8_t>(bilinear(at_x, at_y, pixel));
    };
    const auto read = [&](int32_t y, int32_t byte) {
        const uint8_t* const at = byte_at(*src, y, byte);
        return at != nullptr ? *at : beyond;
    };
    for (int32_t y = 0; y < dst->height; ++y) {
        for (int32_t x = 0; x < dst->width; ++x)
            put(x, y, x * step_x, y * step_y, [&](int32_t column, int32_t row) { return read(row, column); });
    }
    // The steps of the luma lead through the chroma, whose pixels are pairs of bytes.
    for (int32_t y = 0; 2 * y < dst->height; ++y) {
        for (int32_t byte = 0; byte < (dst->width + 1) / 2 * 2; ++byte)
            put(byte, dst->height + y, byte / 2 * step_x, y * step_y,
                [&](int32_t pair, int32_t row) { return read(src->height + row, 2 * pair + byte % 2); });
    }
    return 0;
}

}  // namespace ozr_reference
