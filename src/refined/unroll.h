// A small copy of a picture, unrolled onto a cylinder and freed of its slow brightness: what
// neighbours are compared on to find their rough shift. On the cylinder a turn of the camera is a
// shift of the picture, nearly the same everywhere.
#ifndef REFINED_UNROLL_H
#define REFINED_UNROLL_H

#include "refined/interval.h"
#include "refined/picture.h"

namespace ozr::refined
{

constexpr int32_t kMaxContrast = 60;  // kernels::kMostCorrelated allows little more

// Zeros before and behind every row of contrast: what is shifted a little too far meets nothing.
constexpr int32_t kUnrolledMargin = 16;

// Luma less its mean over a window, at most kMaxContrast either way, with 0 outside the picture.
struct Unrolled {
    int32_t width;
    int32_t height;
    int32_t stride;  // elements: the margin behind a row is the one before the next
    Buffer<int16_t> contrast;
    // Of each row: the columns in which the cylinder shows the picture. Edges of pictures are
    // cosines on it, so what is between two columns that show something shows something too.
    Buffer<Interval> shown;

    const int16_t* row(int32_t y) const { return contrast.get() + kUnrolledMargin + int64_t{y} * stride; }
};

// Unrolls a plane for a camera of this focal length (pixels of the plane), whose picture is first
// rolled by `roll` radians about its middle. kPanoNoMemory.
PanoResult unroll(const ConstPlane& plane, double focal, double roll, Unrolled* out);

}  // namespace ozr::refined

#endif
