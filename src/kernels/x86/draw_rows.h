// Drawing, written once for vectors of one block and of two: a block has a half of 16 bytes to itself, its pixels a word
// each. Blocks at the edge of a picture, turned by much or strongly reduced are left to the scalar kernel.
//
// Within a block places count from the pixel that its leftmost tap lies on, so that they fit words.
#ifndef OZR_DRAW_ROWS_H
#define OZR_DRAW_ROWS_H

#include <stddef.h>
#include <stdint.h>

#include "kernels/draw.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has a copy of its own, compiled for its own instruction set.
namespace
{

constexpr int32_t kDrawPlaceOne = 1 << kDrawPlaceBits;
constexpr int32_t kMostTurn = 2;      // rows that the places of a block may lie apart
constexpr int32_t kMostStep = 16383;  // of a node to the next: twice as much is a word
constexpr int32_t kMostBlocks = 2;    // of a vector
constexpr int32_t kLoad = 16;         // bytes of a source row that a block is made from

// What tells luma and chroma apart. Places are Q10 luma pixels: a pair is two of them wide, and begins half a one in.
struct LumaShape {
    static constexpr int32_t kTaps = 4,
                             kBefore = 1;  // rows and columns of a pixel, and those before its place
    static constexpr int32_t kPixelBytes = 1, kUnitBits = kDrawPlaceBits, kInset = 0;
    static constexpr int32_t kFirst = 0,
                             kLast = 14;  // where a block's first and last pixel lie, in 16ths of it
};
struct ChromaShape {
    static constexpr int32_t kTaps = 2, kBefore = 0;
    static constexpr int32_t kPixelBytes = 2, kUnitBits = kDrawPlaceBits + 1,
                             kInset = 1 << (kDrawPlaceBits - 1);
    static constexpr int32_t kFirst = 1, kLast = 13;
};

template <class V, class Shape>
class DrawRows
{
protected:
    using Words = typename V::Words;
    using Vector = typename V::Vector;
    static constexpr int32_t kBlocks = V::kBytes / 16;

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
        int16_t x[kMostBlocks], step_x[kMostBlocks], y[kMostBlocks], step_y[kMostBlocks];
        const uint8_t* src[kMostBlocks];
        int32_t turn;  // rows that are read beyond the taps of one pixel
    };

    // False where the blocks that begin with a node are not for vectors.
    static bool start(const Limits& limits, const int32_t* xs, const int32_t* ys, Starts* starts)
    {
        constexpr int32_t kUnit = 1 << Shape::kUnitBits, kLeast = Shape::kBefore * kUnit;
        constexpr int32_t kLastColumn = kLoad / Shape::kPixelBytes - Shape::kTaps;
        int64_t offsets[kMostBlocks];
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

    // Numbers of the blocks, each in all words of its half.
    static Words between(const int16_t* nodes, Words steps)
    {
        int16_t ways[kMostBlocks];
        for (int32_t i = 0; i < kBlocks; ++i)
            ways[i] = static_cast<int16_t>(2 * (nodes[i + 1] - nodes[i]));
        return V::spread(nodes) + V::multiply_high(V::spread(ways), steps);
    }

    static bool is_gentle(const int16_t* nodes)
    {
        bool gentle = true;
        for (int32_t i = 0; i < kBlocks; ++i) {
            const int32_t step = nodes[i + 1] - nodes[i];
            gentle = gentle && step >= -kMostStep && step <= kMostStep;
        }
        return gentle;
    }

    // Words in which `later` takes the place of `earlier` where the mask is set.
    static Words chosen(Words mask, Words later, Words earlier)
    {
        return earlier ^ (mask & (later ^ earlier));
    }

    static constexpr int32_t kTaps = Shape::kTaps;

    // Rows per pixel from those per block: a pixel whose place is n rows further down has its taps n rows further down.
    template <int32_t kTurn>
    static void pick_rows(Words* rows, Words down)
    {
        for (int32_t n = 1; n <= kTurn; ++n) {
            const Words mask = Words(down > V::all_words(static_cast<int16_t>(n - 1)));
            for (int32_t i = 0; i < kTaps + kTurn - n; ++i)
                rows[i] = chosen(mask, rows[i + 1], rows[i]);
        }
    }

    static Words finished(Words sample, Words gain, Words shift)
    {
        const Words level = V::add_limited(V::multiply_round(sample, gain), shift);
        return V::add_limited(level, V::all_words(8)) >> kDrawShiftBits;
    }

    // Numbers 0, 1 ... of the words of a block, times `factor`.
    static Words ramp(int16_t first, int16_t factor, int32_t pixels_of_word)
    {
        int16_t steps[8];
        for (int32_t k = 0; k < 8; ++k)
            steps[k] = static_cast<int16_t>(first + factor * (k / pixels_of_word));
        return V::repeated(steps);
    }
};

template <class V, class Scalar>
class DrawLuma : DrawRows<V, LumaShape>
{
    using Base = DrawRows<V, LumaShape>;
    using Base::kBlocks;
    using typename Base::Starts;
    using typename Base::Vector;
    using typename Base::Words;

    struct Weights {
        Words at[4];
    };

    // Q14, for places in 128ths. Sums on the way leave signed words, but not unsigned ones.
    static Weights column_weights(Words place)
    {
        using Sums = typename V::WordSums;
        const Words t = place << 8;
        const Words t2 = V::multiply_round(t, t);
        const Words t3 = V::multiply_round(t2, t);
        const Sums one = Sums(t), two = Sums(t2), three = Sums(t3);
        Weights w;
        w.at[0] = Words(two + two - three - one) >> 2;
        w.at[2] = Words((two * 4 - three * 3 + one) >> 2);  // up to 2 in Q15, without a sign
        w.at[3] = (t3 - t2) >> 2;
        w.at[1] = V::all_words(1 << 14) - w.at[0] - w.at[2] - w.at[3];
        return w;
    }

    // Bytes in pairs: of the first two taps, and of the last two.
    struct Pairs {
        Words first;
        Words last;
    };
    static Pairs row_weights(Words place)
    {
        const Weights w = column_weights(place);
        const Words most = V::all_words(127);
        const Words w0 = (w.at[0] + 64) >> 7, w3 = (w.at[3] + 64) >> 7;
        Words w1 = V::lesser((w.at[1] + 64) >> 7, most);
        Words w2 = V::all_words(128) - w0 - w1 - w3;
        const Words excess = V::greater(w2 - most, V::all_words(0));
        w1 += excess;
        w2 -= excess;
        return {(w0 & 0xFF) | (w1 << 8), (w2 & 0xFF) | (w3 << 8)};
    }

    template <int32_t kTurn>
    static Words samples(const Starts& starts, int64_t stride, Words x, Words y)
    {
        const Pairs across = row_weights((x >> 3) & 127);
        const Words column = x >> kDrawPlaceBits;
        const Words first_taps = (column | (column << 8)) + 0x0100, last_taps = first_taps + 0x0202;
        Words rows[size_t{4} + kTurn];
        for (int32_t i = 0; i < 4 + kTurn; ++i) {
            const Vector bytes = V::load_blocks(starts.src, i * stride);
            rows[i] = V::add_limited(V::multiply_add_bytes(V::shuffled(bytes, first_taps), across.first),
                                     V::multiply_add_bytes(V::shuffled(bytes, last_taps), across.last));
        }
        Base::template pick_rows<kTurn>(rows, y >> kDrawPlaceBits);
        const Weights down = column_weights((y >> 3) & 127);
        Words sample = V::multiply_round(rows[0], down.at[0]);
        for (int32_t i = 1; i < 4; ++i)
            sample += V::multiply_round(rows[i], down.at[i]);
        return sample;
    }

public:
    static void draw(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks,
                     Scalar scalar)
    {
        const Words steps = Base::ramp(0, 4096, 1);
        const typename Base::Limits limits(plane);
        int32_t b = 0;
        for (; b + kBlocks <= blocks; b += kBlocks) {
            const DrawNodes here = {nodes.x + b, nodes.y + b, nodes.gain + b, {nodes.shift[0] + b, nullptr}};
            Starts starts;
            if (!Base::start(limits, here.x, here.y, &starts) || !Base::is_gentle(here.gain)) {
                scalar(dst + kDrawBlock * b, plane, here, kBlocks);
                continue;
            }
            const Words x = V::spread(starts.x) + V::multiply_high(V::spread(starts.step_x), steps);
            const Words y = V::spread(starts.y) + V::multiply_high(V::spread(starts.step_y), steps);
            Words sample;
            switch (starts.turn) {
            case 0:
                sample = samples<0>(starts, limits.stride, x, y);
                break;
            case 1:
                sample = samples<1>(starts, limits.stride, x, y);
                break;
            default:
                sample = samples<kMostTurn>(starts, limits.stride, x, y);
            }
            V::store_blocks(dst + kDrawBlock * b, Base::finished(sample, Base::between(here.gain, steps),
                                                                 Base::between(here.shift[0], steps)));
        }
        const DrawNodes rest = {nodes.x + b, nodes.y + b, nodes.gain + b, {nodes.shift[0] + b, nullptr}};
        scalar(dst + kDrawBlock * b, plane, rest, blocks - b);
    }
};

template <class V, class Scalar>
class DrawChroma : DrawRows<V, ChromaShape>
{
    using Base = DrawRows<V, ChromaShape>;
    using Base::kBlocks;
    using typename Base::Starts;
    using typename Base::Vector;
    using typename Base::Words;

    static DrawNodes from(const DrawNodes& nodes, int32_t b)
    {
        return {nodes.x + b, nodes.y + b, nodes.gain + b, {nodes.shift[0] + b, nodes.shift[1] + b}};
    }

    template <int32_t kTurn>
    static Words samples(const Starts& starts, int64_t stride, Words x, Words y)
    {
        const Words taps = V::all_pairs(0x0200, 0x0301);  // a pair and the next one, the same byte of both
        const Words part = (x >> 4) & 63;
        const Words across = (V::all_words(64) - part) | (part << 8);
        const Words column = (x >> kDrawPlaceBits) << 1;
        const Words order = (column | (column << 8)) + taps;
        Words rows[size_t{2} + kTurn];
        for (int32_t i = 0; i < 2 + kTurn; ++i)
            rows[i] =
                V::multiply_add_bytes(V::shuffled(V::load_blocks(starts.src, i * stride), order), across);
        Base::template pick_rows<kTurn>(rows, y >> kDrawPlaceBits);
        const Words down = ((y >> 3) & 127) << 8;
        return rows[0] + V::multiply_round(rows[1] - rows[0], down) - 128 * 64;
    }

public:
    static void draw(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks,
                     Scalar scalar)
    {
        const Words steps = Base::ramp(2048, 4 * 2048, 2);
        const Words odd = V::all_pairs(0, -1);
        const typename Base::Limits limits(plane);
        int32_t b = 0;
        for (; b + kBlocks <= blocks; b += kBlocks) {
            const DrawNodes here = from(nodes, b);
            Starts starts;
            if (!Base::start(limits, here.x, here.y, &starts) || !Base::is_gentle(here.gain)) {
                scalar(dst + kDrawBlock * b, plane, here, kBlocks);
                continue;
            }
            const Words x = (V::spread(starts.x) + V::multiply_high(V::spread(starts.step_x), steps)) >> 1;
            const Words y = (V::spread(starts.y) + V::multiply_high(V::spread(starts.step_y), steps)) >> 1;
            Words sample;
            switch (starts.turn) {
            case 0:
                sample = samples<0>(starts, limits.stride, x, y);
                break;
            case 1:
                sample = samples<1>(starts, limits.stride, x, y);
                break;
            default:
                sample = samples<kMostTurn>(starts, limits.stride, x, y);
            }
            const Words shift =
                Base::chosen(odd, Base::between(here.shift[1], steps), Base::between(here.shift[0], steps));
            V::store_blocks(dst + kDrawBlock * b, Base::finished(sample, Base::between(here.gain, steps),
                                                                 shift + (128 << kDrawShiftBits)));
        }
        scalar(dst + kDrawBlock * b, plane, from(nodes, b), blocks - b);
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
