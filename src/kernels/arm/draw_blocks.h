// The blocks of a drawing, for variants that fetch the samples of a block from one load of each source row. Blocks at the
// edge of a picture, turned by much or strongly reduced are left to the scalar kernel.
//
// Within a block places count from the pixel that its leftmost tap lies on, so that they fit words.
#ifndef OZR_DRAW_BLOCKS_H
#define OZR_DRAW_BLOCKS_H

#include <stdint.h>

#include "kernels/draw.h"
#include "kernels/draw_shapes.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has a copy of its own, compiled for its own instruction set.
namespace
{

constexpr int32_t kMostTurn = 2;  // rows that the places of a block may lie apart

// `kBlocks` blocks at a time.
template <class Shape, int32_t kBlocks>
struct DrawBlocks {
    // A plane by value: what is written is bytes, which might be anything that is read through a pointer.
    struct Limits {
        const uint8_t* src;
        int64_t stride, last_load;  // offset of the last 16 bytes
        int32_t most_x, most_y;
        explicit Limits(const DrawPlane& plane)
            : src(plane.src), stride(plane.stride),
              last_load((plane.height - 1) * plane.stride + plane.width * Shape::kPixelBytes - kLoad),
              most_x(((plane.width - Shape::kTaps + 1 + Shape::kBefore) << Shape::kUnitBits) - 1),
              most_y(((plane.height - Shape::kTaps + 1 + Shape::kBefore) << Shape::kUnitBits) - 1)
        {
        }
    };

    // Of each block of a vector: the first place within it, and twice the way to the next node.
    struct Starts {
        int16_t x[kBlocks], step_x[kBlocks], y[kBlocks], step_y[kBlocks];
        const uint8_t* src[kBlocks];
        int32_t turn;  // rows that are read beyond the taps of one pixel
    };

    // False where the blocks that begin with a node are not for vectors.
    static bool start(const Limits& limits, const int32_t* xs, const int32_t* ys, Starts* starts)
    {
        constexpr int32_t kUnit = 1 << Shape::kUnitBits, kLeast = Shape::kBefore * kUnit;
        constexpr int32_t kLastColumn = kLoad / Shape::kPixelBytes - Shape::kTaps;
        int64_t offsets[kBlocks] = {};
        starts->turn = 0;
        for (int32_t i = 0; i < kBlocks; ++i) {
            const int32_t x = xs[i] - Shape::kInset, step_x = xs[i + 1] - xs[i];
            const int32_t y = ys[i] - Shape::kInset, step_y = ys[i + 1] - ys[i];
            if (step_x < 0 || step_x > kMostStep || step_y < -kMostStep || step_y > kMostStep)
                return false;
            const int32_t last_x = x + (Shape::kLast * step_x >> 4),
                          last_y = y + (Shape::kLast * step_y >> 4);
            const int32_t first_y = y + (Shape::kFirst * step_y >> 4);
            const int32_t upper = lesser(first_y, last_y), lower = first_y + last_y - upper;
            const int32_t column = x >> Shape::kUnitBits, row = upper >> Shape::kUnitBits;
            if (x < kLeast || last_x > limits.most_x || upper < kLeast || lower > limits.most_y ||
                (last_x >> Shape::kUnitBits) - column > kLastColumn)
                return false;
            const int32_t turn = (lower >> Shape::kUnitBits) - row;
            starts->turn = turn > starts->turn ? turn : starts->turn;
            starts->x[i] = static_cast<int16_t>(x & (kUnit - 1));
            starts->y[i] = static_cast<int16_t>(y - (row << Shape::kUnitBits));
            starts->step_x[i] = static_cast<int16_t>(2 * step_x);
            starts->step_y[i] = static_cast<int16_t>(2 * step_y);
            offsets[i] =
                (row - Shape::kBefore) * limits.stride + (column - Shape::kBefore) * Shape::kPixelBytes;
            starts->src[i] = limits.src + offsets[i];
        }
        // A row below the plane would end beyond it too.
        const int64_t down = (Shape::kTaps - 1 + starts->turn) * limits.stride;
        for (int32_t i = 0; i < kBlocks; ++i) {
            if (offsets[i] + down > limits.last_load)
                return false;
        }
        return starts->turn <= kMostTurn;
    }

    static int32_t lesser(int32_t a, int32_t b) { return a < b ? a : b; }

    static bool is_gentle(const int16_t* nodes)
    {
        bool gentle = true;
        for (int32_t i = 0; i < kBlocks; ++i) {
            const int32_t step = nodes[i + 1] - nodes[i];
            gentle = gentle && step >= -kMostStep && step <= kMostStep;
        }
        return gentle;
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
