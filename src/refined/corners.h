// Where a picture has something to hold on to: how well each small window fixes its place
// in both directions.
#ifndef REFINED_CORNERS_H
#define REFINED_CORNERS_H

#include "refined/picture.h"

namespace ozr::refined
{

// Windows of kCornerWindow pixels, kCornerStep apart, each with the smaller eigenvalue of
// its gradient tensor.
struct Corners {
    int32_t columns;
    int32_t rows;
    Buffer<float> strength;

    float at(int32_t column, int32_t row) const { return strength.get()[int64_t{row} * columns + column]; }
};

constexpr int32_t kCornerStep = 4;
constexpr int32_t kCornerWindow = 2 * kCornerStep;

// kPanoNoMemory.
PanoResult find_corners(const ConstPlane& plane, Corners* out);

}  // namespace ozr::refined

#endif
