// Drawing, written once for vectors of one block and of two: a block has a half of 16 bytes to itself, its pixels a word
// each.
#ifndef OZR_DRAW_ROWS_H
#define OZR_DRAW_ROWS_H

#include <stddef.h>
#include <stdint.h>

#include "kernels/draw.h"
#include "kernels/draw_blocks.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has a copy of its own, compiled for its own instruction set.
namespace
{

template <class V, class Shape>
class DrawRows : protected DrawBlocks<Shape, V::kBytes / 16>
{
protected:
    using Words = typename V::Words;
    using Vector = typename V::Vector;
    static constexpr int32_t kBlocks = V::kBytes / 16;

    // Numbers of the blocks, each in all words of its half.
    static Words between(const int16_t* nodes, Words steps)
    {
        int16_t ways[kMostBlocks];
        for (int32_t i = 0; i < kBlocks; ++i)
            ways[i] = static_cast<int16_t>(2 * (nodes[i + 1] - nodes[i]));
        return V::spread(nodes) + V::multiply_high(V::spread(ways), steps);
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
