// The blocks of a drawing: the samples of one are fetched from one load of each source row. Blocks
// at the edge of a picture, turned by much or strongly reduced are left to the scalar kernel.
//
// Within a block places count from the pixel that its leftmost tap lies on, so that they fit words.
#ifndef OZR_DRAW_BLOCKS_H
#define OZR_DRAW_BLOCKS_H

#include <stdint.h>

#include "kernels/draw.h"
#include "kernels/draw_shapes.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

constexpr int32_t kMostTurn = 2;  // rows that the places of a block may lie apart

// What all blocks of a row have in common. A plane by value: what is written is bytes, which might
// be anything that is read through a pointer.
template <class Shape>
struct DrawLimits {
    const uint8_t* src;
    int64_t stride, last_load;  // offset of the last 16 bytes
    int32_t most_x, most_y;
    explicit DrawLimits(const DrawPlane& plane)
        : src(plane.src), stride(plane.stride),
          last_load((plane.height - 1) * plane.stride + plane.width * Shape::kPixelBytes - kLoad),
          most_x(((plane.width - Shape::kTaps + 1 + Shape::kBefore) << Shape::kUnitBits) - 1),
          most_y(((plane.height - Shape::kTaps + 1 + Shape::kBefore) << Shape::kUnitBits) - 1)
    {
    }
};

// The first place within a block, and twice the way to the next node.
struct DrawStart {
    int16_t x, step_x, y, step_y;
    const uint8_t* src;
    int32_t turn;  // rows that are read beyond the taps of one pixel
};

// False where the block that begins with a node is not for vectors.
template <class Shape>
bool start_block(const DrawLimits<Shape>& limits, const int32_t* xs, const int32_t* ys, DrawStart* start)
{
    constexpr int32_t kUnit = 1 << Shape::kUnitBits, kLeast = Shape::kBefore * kUnit;
    constexpr int32_t kLastColumn = kLoad / Shape::kPixelBytes - Shape::kTaps;
    const int32_t x = xs[0] - Shape::kInset, step_x = xs[1] - xs[0];
    const int32_t y = ys[0] - Shape::kInset, step_y = ys[1] - ys[0];
    if (step_x < 0 || step_x > kMostStep || step_y < -kMostStep || step_y > kMostStep)
        return false;
    const int32_t last_x = x + (Shape::kLast * step_x >> 4), last_y = y + (Shape::kLast * step_y >> 4);
    const int32_t first_y = y + (Shape::kFirst * step_y >> 4);
    const int32_t upper = first_y < last_y ? first_y : last_y, lower = first_y + last_y - upper;
    const int32_t column = x >> Shape::kUnitBits, row = upper >> Shape::kUnitBits;
    if (x < kLeast || last_x > limits.most_x || upper < kLeast || lower > limits.most_y ||
        (last_x >> Shape::kUnitBits) - column > kLastColumn)
        return false;
    start->turn = (lower >> Shape::kUnitBits) - row;
    start->x = static_cast<int16_t>(x & (kUnit - 1));
    start->y = static_cast<int16_t>(y - (row << Shape::kUnitBits));
    start->step_x = static_cast<int16_t>(2 * step_x);
    start->step_y = static_cast<int16_t>(2 * step_y);
    const int64_t offset =
        (row - Shape::kBefore) * limits.stride + (column - Shape::kBefore) * Shape::kPixelBytes;
    start->src = limits.src + offset;
    // A row below the plane would end beyond it too.
    return start->turn <= kMostTurn &&
           offset + (Shape::kTaps - 1 + start->turn) * limits.stride <= limits.last_load;
}

inline bool is_gentle(const int16_t* nodes)
{
    const int32_t step = nodes[1] - nodes[0];
    return step >= -kMostStep && step <= kMostStep;
}

}  // namespace

}  // namespace ozr::kernels

#endif
