// Quarter turns in tiles, for variants that transpose a block in registers: a turn is a
// transposition that takes the rows, or writes the columns, in reverse order. Tiles of blocks keep
// whole cache lines of both pictures at hand. The last block of a tile may overlap the one before
// it: it writes the same bytes once more.
#ifndef OZR_ROTATE_TILES_H
#define OZR_ROTATE_TILES_H

#include <stddef.h>

#include "kernels/rotate.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

constexpr int32_t kRotateTile = 64;  // rows and columns

// Both pictures, and the size of the source in elements.
struct Turn {
    uint8_t* dst;
    ptrdiff_t dst_stride;
    const uint8_t* src;
    ptrdiff_t src_stride;
    int32_t width;
    int32_t height;
};

// `Element` has the edge of a block and its own size in bytes, the scalar kernels, and transposes a
// block from and to rows so many bytes apart.
template <class Element, bool kCw>
struct RotateTiles {
    static constexpr int32_t kEdge = Element::kEdge;

    static int32_t lesser(int32_t a, int32_t b) { return a < b ? a : b; }

    // Turns the block at source column x, row y: the source row that becomes the first destination
    // column is read first.
    static void turn_block(const Turn& turn, int32_t x, int32_t y)
    {
        const int32_t first_row = kCw ? y + kEdge - 1 : y;
        const int32_t first_line = kCw ? x : turn.width - 1 - x;
        const int32_t column = kCw ? turn.height - kEdge - y : y;
        const ptrdiff_t read_step = kCw ? -turn.src_stride : turn.src_stride;
        const ptrdiff_t write_step = kCw ? turn.dst_stride : -turn.dst_stride;
        const uint8_t* from = turn.src + first_row * turn.src_stride + ptrdiff_t{x} * Element::kBytes;
        uint8_t* to = turn.dst + first_line * turn.dst_stride + ptrdiff_t{column} * Element::kBytes;
        Element::transpose(to, write_step, from, read_step);
    }

    static void turn_tile(const Turn& turn, int32_t x0, int32_t x1, int32_t y0, int32_t y1)
    {
        for (int32_t y = y0; y < y1; y += kEdge) {
            for (int32_t x = x0; x < x1; x += kEdge)
                turn_block(turn, lesser(x, turn.width - kEdge), lesser(y, turn.height - kEdge));
        }
    }

    static void turn_picture(const Turn& turn)
    {
        for (int32_t y = 0; y < turn.height; y += lesser(kRotateTile, turn.height - y)) {
            for (int32_t x = 0; x < turn.width; x += lesser(kRotateTile, turn.width - x))
                turn_tile(turn, x, x + lesser(kRotateTile, turn.width - x), y,
                          y + lesser(kRotateTile, turn.height - y));
        }
    }

    static void rotate(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
    {
        if (task.width >= kEdge && task.height >= kEdge)
            turn_picture({dst, dst_stride, task.src, task.src_stride, task.width, task.height});
        else if (kCw)
            Element::kClockwise(dst, dst_stride, task);
        else
            Element::kCounterClockwise(dst, dst_stride, task);
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
