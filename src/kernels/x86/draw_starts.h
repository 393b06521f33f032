// Where the blocks of a drawing begin, worked out for many of them at once, a number of 32 bits
// each. Blocks turned by much, strongly reduced or far outside the picture are not for vectors.
//
// Within a block places count from the pixel that its first tap lies on, so that they fit words.
#ifndef OZR_DRAW_STARTS_H
#define OZR_DRAW_STARTS_H

#include <stddef.h>
#include <stdint.h>

#include "kernels/draw.h"
#include "kernels/draw_shapes.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

constexpr int32_t kMostTurn = 3;       // rows that the places of a block may lie apart
constexpr int32_t kBlocksAtOnce = 32;  // whose starts are worked out together
constexpr int32_t kEdge = 4;           // the turn of a block whose places must be limited
constexpr int32_t kTooMuch = 99;       // the turn of a block that is not for vectors

// Where blocks begin: the first column and row that are loaded, the place from there on, twice the
// way to the next node, and the limits of places. Loads stay inside the picture, whatever the turn.
struct DrawStarts {
    int32_t column[kBlocksAtOnce], row[kBlocksAtOnce];
    int32_t x[kBlocksAtOnce], step_x[kBlocksAtOnce], y[kBlocksAtOnce], step_y[kBlocksAtOnce];
    int32_t least_x[kBlocksAtOnce], most_x[kBlocksAtOnce], least_y[kBlocksAtOnce], most_y[kBlocksAtOnce];
    int32_t turn[kBlocksAtOnce];  // rows that are read beyond the taps of one pixel
};

template <class V, class Shape>
class DrawStarting
{
    using Ints = typename V::Ints;
    using Vector = typename V::Vector;
    static constexpr int32_t kInts = V::kBytes / 4;
    static constexpr int32_t kTaps = Shape::kTaps;

    static Ints chosen(Ints mask, Ints later, Ints earlier) { return earlier ^ (mask & (later ^ earlier)); }
    static Ints at_least(Ints value, int32_t least)
    {
        return chosen(Ints(value < least), Ints{} + least, value);
    }
    static Ints at_most(Ints value, int32_t most) { return chosen(Ints(value > most), Ints{} + most, value); }

    static void store(int32_t* dst, Ints ints) { V::store(dst, Vector(ints)); }

    // Starts of as many blocks as a vector has numbers, from nodes of which there is one more.
    // Inlined, so that its constants are made once for all blocks of a row.
    __attribute__((always_inline)) static void start_some(const DrawPlane& plane, const int32_t* xs,
                                                          const int32_t* ys, DrawStarts* starts,
                                                          int32_t first)
    {
        constexpr int32_t kBits = Shape::kUnitBits, kUnit = 1 << kBits, kLeast = Shape::kBefore * kUnit;
        constexpr int32_t kLastColumn = kLoad / Shape::kPixelBytes - kTaps;
        const int32_t most_x = ((plane.width - kTaps + 1 + Shape::kBefore) << kBits) - 1;
        const int32_t most_y = ((plane.height - kTaps + 1 + Shape::kBefore) << kBits) - 1;
        const Ints at_x = Ints(V::load(xs)), at_y = Ints(V::load(ys));
        Ints step_x = Ints(V::load(xs + 1)) - at_x, step_y = Ints(V::load(ys + 1)) - at_y;
        Ints fine = Ints(step_x >= 0) & Ints(step_x <= kMostStep) & Ints(step_y >= -kMostStep) &
                    Ints(step_y <= kMostStep);
        step_x &= fine;
        step_y &= fine;
        const Ints x = at_x - Shape::kInset, y = at_y - Shape::kInset;
        const Ints last_x = x + ((step_x * Shape::kLast) >> 4), last_y = y + ((step_y * Shape::kLast) >> 4);
        const Ints first_y = y + ((step_y * Shape::kFirst) >> 4);
        const Ints rises = Ints(last_y < first_y);
        const Ints upper = chosen(rises, last_y, first_y), lower = chosen(rises, first_y, last_y);
        const Ints column = x >> kBits, row = upper >> kBits;
        const Ints left =
            at_least(at_most(column - Shape::kBefore, plane.width - kLoad / Shape::kPixelBytes), 0);
        const Ints top = at_least(at_most(row - Shape::kBefore, plane.height - kTaps - kMostTurn), 0);
        const Ints origin_x = (left + Shape::kBefore) << kBits, origin_y = (top + Shape::kBefore) << kBits;
        const Ints x_in = x - origin_x, y_in = y - origin_y;
        fine &= Ints(((last_x >> kBits) - column) <= kLastColumn) &
                Ints(((lower >> kBits) - row) <= kMostTurn) & Ints(x_in >= -kMostStep) &
                Ints(x_in <= kMostStep) & Ints(y_in >= -kMostStep) & Ints(y_in <= kMostStep);
        const Ints inside =
            Ints(x >= kLeast) & Ints(last_x <= most_x) & Ints(upper >= kLeast) & Ints(lower <= most_y);
        const Ints turn = (lower >> kBits) - Shape::kBefore - top;
        store(starts->column + first, left);
        store(starts->row + first, top);
        store(starts->x + first, x_in);
        store(starts->y + first, y_in);
        store(starts->step_x + first, step_x + step_x);
        store(starts->step_y + first, step_y + step_y);
        store(starts->least_x + first, at_least(kLeast - origin_x, INT16_MIN));
        store(starts->most_x + first, at_most(most_x - origin_x, INT16_MAX));
        store(starts->least_y + first, at_least(kLeast - origin_y, INT16_MIN));
        store(starts->most_y + first, at_most(most_y - origin_y, INT16_MAX));
        store(starts->turn + first, chosen(fine, chosen(inside, turn, Ints{} + kEdge), Ints{} + kTooMuch));
    }

public:
    // At most kBlocksAtOnce. The last nodes are repeated where there are not enough for a vector.
    static void start(const DrawPlane& plane, const int32_t* xs, const int32_t* ys, int32_t blocks,
                      DrawStarts* starts)
    {
        int32_t b = 0;
        for (; b + kInts <= blocks; b += kInts)
            start_some(plane, xs + b, ys + b, starts, b);
        if (b == blocks)
            return;
        int32_t last_xs[size_t{kInts} + 1], last_ys[size_t{kInts} + 1];
        for (int32_t i = 0; i <= kInts; ++i) {
            const int32_t node = b + i < blocks ? b + i : blocks;
            last_xs[i] = xs[node];
            last_ys[i] = ys[node];
        }
        start_some(plane, last_xs, last_ys, starts, b);
    }

    // The turn of the blocks of a vector; too much where they are not for vectors.
    static int32_t turn_of(const DrawStarts& starts, int32_t b)
    {
        int32_t turn = starts.turn[b];
        for (int32_t i = 1; i < V::kBytes / 16; ++i)
            turn = turn < starts.turn[b + i] ? starts.turn[b + i] : turn;
        return turn;
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
