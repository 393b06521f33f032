// Views of pixels: rows of bytes, `stride` bytes apart. A view owns nothing and has no format.
#ifndef OZR_BASE_PLANE_H
#define OZR_BASE_PLANE_H

#include <stddef.h>
#include <stdint.h>

namespace ozr
{

struct ConstPlane {
    const uint8_t* data;
    int32_t width;  // pixels
    int32_t height;
    int32_t stride;  // bytes

    bool has_pixels() const { return data != nullptr && width > 0 && height > 0; }
    const uint8_t* row(int64_t y) const { return data + static_cast<ptrdiff_t>(y * stride); }

    // A part of the plane: `columns` x `rows` pixels from the byte `first` on.
    ConstPlane part(const uint8_t* first, int32_t columns, int32_t rows) const
    {
        return {first, columns, rows, stride};
    }
};

struct Plane {
    uint8_t* data;
    int32_t width;  // pixels
    int32_t height;
    int32_t stride;  // bytes

    bool has_pixels() const { return data != nullptr && width > 0 && height > 0; }
    uint8_t* row(int64_t y) const { return data + static_cast<ptrdiff_t>(y * stride); }
};

}  // namespace ozr

#endif
