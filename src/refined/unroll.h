// A small copy of a picture, unrolled onto a cylinder and freed of its slow brightness: what
// neighbours are compared on to find their rough shift. On the cylinder a turn of the camera is a
// shift of the picture, nearly the same everywhere.
#ifndef REFINED_UNROLL_H
#define REFINED_UNROLL_H

#include "refined/picture.h"

namespace ozr::refined
{

// Luma less its mean over a window, at most kMaxContrast either way, with 0 outside the picture;
// and all ones inside.
struct Unrolled {
    int32_t width;
    int32_t height;
    Buffer<int16_t> contrast;
    Buffer<int16_t> mask;  // -1 where the cylinder shows the picture, else 0

    const int16_t* contrast_row(int32_t y) const { return contrast.get() + int64_t{y} * width; }
    const int16_t* mask_row(int32_t y) const { return mask.get() + int64_t{y} * width; }
};

constexpr int32_t kMaxContrast = 60;

// Unrolls a plane for a camera of this focal length (pixels of the plane), whose picture is first
// rolled by `roll` radians about its middle. kPanoNoMemory.
PanoResult unroll(const ConstPlane& plane, double focal, double roll, Unrolled* out);

}  // namespace ozr::refined

#endif
