#include <algorithm>

#include "reference/image.h"

namespace ozr_reference
{
namespace
{

int32_t turn(PanoImg* dst, const PanoImg* src, bool clockwise)
{
    if (dst == nullptr || src == nullptr)
        return kBad;
    if (src->format != kPanoNv12 || dst->format != kPanoNv12)
        return kUnsupported;
    if (src->data == nullptr || dst->data == nullptr)
        return kNull;
    if (!is_possible(*src) || !is_possible(*dst))
        return kBad;
    for (int32_t y = 0; y < src->height; ++y) {
        for (int32_t x = 0; x < src->width; ++x)
            at(*dst, clockwise ? x : dst->height - 1 - x, clockwise ? dst->width - 1 - y : y) =
                at(*src, y, x);
    }
    // Pairs move whole, half pictures rounded up. Those of odd sizes are moved as
    // far as both records own them.
    const bool is_odd = src->width % 2 != 0 || src->height % 2 != 0;
    const int32_t last_pair = (dst->width + 1) / 2 - 1, last_row = (dst->height + 1) / 2 - 1;
    for (int32_t k = 0; k < (src->height + 1) / 2; ++k) {
        for (int32_t m = 0; m < (src->width + 1) / 2; ++m) {
            const int32_t row = clockwise ? m : last_row - m, pair = clockwise ? last_pair - k : k;
            for (int32_t byte = 0; byte < 2; ++byte) {
                const int32_t to_row = dst->height + row, from_row = src->height + k;
                if (!is_odd ||
                    (byte_at(*dst, to_row, 2 * pair + byte) && byte_at(*src, from_row, 2 * m + byte)))
                    at(*dst, to_row, 2 * pair + byte) = at(*src, from_row, 2 * m + byte);
            }
        }
    }
    return 0;
}

uint8_t limited(int32_t value)
{
    return static_cast<uint8_t>(std::clamp(value >> 8, 0, 255));
}

}  // namespace

int32_t turn_clockwise(PanoImg* dst, const PanoImg* src)
{
    return turn(dst, src, true);
}

int32_t turn_counterclockwise(PanoImg* dst, const PanoImg* src)
{
    return turn(dst, src, false);
}

int32_t convert_to_rgba(PanoImg* dst, const PanoImg* src)
{
    if (src == nullptr || dst == nullptr)
        return kBad;
    if (src->data == nullptr || dst->data == nullptr)
        return kNull;
    if (src->format != kPanoNv12 || dst->format != kPanoRgba)
        return kUnsupported;
    if (!is_possible(*src) || !is_possible(*dst))
        return kBad;
    std::fill_n(dst->data, dst->size, uint8_t{0});
    const int32_t width = std::min(src->width, dst->width) / 2 * 2,
                  height = std::min(src->height, dst->height) / 2 * 2;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const int32_t luma = 298 * (at(*src, y, x) - 16);
            const int32_t v = at(*src, src->height + y / 2, x / 2 * 2) - 128,
                          u = at(*src, src->height + y / 2, x / 2 * 2 + 1) - 128;
            const uint8_t pixel[] = {limited(luma + 409 * v + 128), limited(luma - 100 * u - 208 * v + 128),
                                     limited(luma + 516 * u + 128), 255};
            std::copy_n(pixel, 4, &at(*dst, y, 4 * x));
        }
    }
    return 0;
}

}  // namespace ozr_reference
