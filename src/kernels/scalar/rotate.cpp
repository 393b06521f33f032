#include <stddef.h>
#include <string.h>

#include "kernels/rotate.h"

namespace ozr::kernels::scalar
{

namespace
{

// Element (x, y) of the source starts at src + y * src_stride + x * kBytes.
template <size_t kBytes, class Place>
void _rotate(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
             int32_t height, Place place)
{
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* row = src + static_cast<ptrdiff_t>(y) * src_stride;
        for (int32_t x = 0; x < width; ++x) {
            const auto [column, line] = place(x, y);
            memcpy(dst + static_cast<ptrdiff_t>(line) * dst_stride + static_cast<size_t>(column) * kBytes,
                   row + static_cast<size_t>(x) * kBytes, kBytes);
        }
    }
}

struct Position {
    int32_t column;
    int32_t line;
};

template <size_t kBytes>
void _rotate_cw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                int32_t height)
{
    _rotate<kBytes>(dst, dst_stride, src, src_stride, width, height, [height](int32_t x, int32_t y) {
        return Position{height - 1 - y, x};
    });
}

template <size_t kBytes>
void _rotate_ccw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                 int32_t height)
{
    _rotate<kBytes>(dst, dst_stride, src, src_stride, width, height, [width](int32_t x, int32_t y) {
        return Position{y, width - 1 - x};
    });
}

}  // namespace

void rotate_bytes_cw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                     int32_t height)
{
    _rotate_cw<1>(dst, dst_stride, src, src_stride, width, height);
}

void rotate_bytes_ccw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                      int32_t height)
{
    _rotate_ccw<1>(dst, dst_stride, src, src_stride, width, height);
}

void rotate_pairs_cw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                     int32_t height)
{
    _rotate_cw<2>(dst, dst_stride, src, src_stride, width, height);
}

void rotate_pairs_ccw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                      int32_t height)
{
    _rotate_ccw<2>(dst, dst_stride, src, src_stride, width, height);
}

}  // namespace ozr::kernels::scalar
