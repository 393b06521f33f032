#include "refined/patch_task.h"

#include <cmath>

#include "kernels/kernels.h"

namespace ozr::refined
{

namespace
{

// Of places and of the bilinear weights cut out of them, as the kernel takes them.
constexpr int32_t kPlaceBits = 16;
constexpr int32_t kWeightBits = 8;

// Whether all places of a patch, and the pixels right of and below them, are on the second plane.
bool _second_plane_holds(const PatchTask& task, int32_t half)
{
    const ConstPlane& plane = *task.second_plane;
    const PatchShape& shape = task.shape;
    const double reach_x = half * (std::abs(shape.right_x) + std::abs(shape.down_x));
    const double reach_y = half * (std::abs(shape.right_y) + std::abs(shape.down_y));
    return task.second_x - reach_x >= 0.5 && task.second_y - reach_y >= 0.5 &&
           task.second_x + reach_x <= plane.width - 2.5 && task.second_y + reach_y <= plane.height - 2.5;
}

int32_t _fixed(double value)
{
    constexpr double kPlaceOne = 1 << kPlaceBits;
    return static_cast<int32_t>(value < 0 ? value * kPlaceOne - 0.5 : value * kPlaceOne + 0.5);
}

}  // namespace

bool sample_second(const PatchTask& task, int32_t half, int16_t* out)
{
    if (!_second_plane_holds(task, half))
        return false;
    kernels::PatchPlaces places = {};
    places.right_x = _fixed(task.shape.right_x);
    places.right_y = _fixed(task.shape.right_y);
    places.down_x = _fixed(task.shape.down_x);
    places.down_y = _fixed(task.shape.down_y);
    places.side = 2 * half + 1;
    // Half a weight is added once, so that cutting the lower bits off rounds.
    const int32_t rounding = 1 << (kPlaceBits - kWeightBits - 1);
    places.x = _fixed(task.second_x) + rounding - half * (places.right_x + places.down_x);
    places.y = _fixed(task.second_y) + rounding - half * (places.right_y + places.down_y);
    const ConstPlane& plane = *task.second_plane;
    kernels::active()->match.sample_patch(out, {plane.data, plane.stride, plane.width, plane.height}, places);
    return true;
}

}  // namespace ozr::refined
