// A patch of one picture that is looked for in another: where it is expected there, how it shows
// there, and its samples.
#ifndef REFINED_PATCH_TASK_H
#define REFINED_PATCH_TASK_H

#include <stdint.h>

#include "base/plane.h"

namespace ozr::refined
{

// How the first picture's surroundings of a place show in the second: by a step to the right and
// a step down.
struct PatchShape {
    double right_x;
    double right_y;
    double down_x;
    double down_y;
};

// `first` is the patch's middle in whole pixels of its plane, `second` where it is expected in the
// other.
struct PatchTask {
    const ConstPlane* first_plane;
    const ConstPlane* second_plane;
    int32_t first_x;
    int32_t first_y;
    double second_x;
    double second_y;
    PatchShape shape;

    // Whether the first plane has `half` pixels on each side of the place.
    bool first_plane_holds(int32_t half) const
    {
        return first_x >= half && first_y >= half && first_x + half < first_plane->width &&
               first_y + half < first_plane->height;
    }

    // Moves the expected place by steps of the first picture.
    void move(double right, double down)
    {
        second_x += right * shape.right_x + down * shape.down_x;
        second_y += right * shape.right_y + down * shape.down_y;
    }
};

// Values of patches have 3 fractional bits: 8 units to a grey level.
constexpr int32_t kSampleBits = 3;
constexpr int32_t kSampleOne = 1 << kSampleBits;

// Patches are multiplied in rows of 16 numbers, whole vectors of all kinds. Where a patch has
// fewer, one of both factors has zeros behind it.
constexpr int32_t kVector = 16;

// Samples (2 half + 1)^2 places around the expected one, bilinear, in the shape of the first
// picture. False where one is outside the second plane; `out` is not written then.
bool sample_second(const PatchTask& task, int32_t half, int16_t* out);

}  // namespace ozr::refined

#endif
