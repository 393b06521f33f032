// Masks for the last vector of a row. It ends with the row and so overlaps the vector before: only
// its last lanes have not been counted yet.
#ifndef OZR_LAST_LANES_H
#define OZR_LAST_LANES_H

#include <stdint.h>

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

constexpr int32_t kMostLanes = 32;

// clang-format off
alignas(2 * kMostLanes) constexpr uint8_t kLaneSteps[2 * kMostLanes] = {
      0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
      0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
// clang-format on

// `lanes` bytes, the last `count` of them 255, the others 0.
inline const uint8_t* last_lanes(int32_t lanes, int32_t count)
{
    return kLaneSteps + kMostLanes - lanes + count;
}

}  // namespace

}  // namespace ozr::kernels

#endif
