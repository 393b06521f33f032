// Drawing, written once for vectors of one block and of two: a block has a half of 16 bytes to
// itself, its pixels a word each. Blocks that draw_starts.h says are not for vectors are left to
// the level below.
#ifndef OZR_DRAW_ROWS_H
#define OZR_DRAW_ROWS_H

#include <stddef.h>
#include <stdint.h>

#include "base/prefetch.h"
#include "kernels/draw.h"
#include "kernels/draw_shapes.h"
#include "kernels/x86/draw_starts.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

template <class V, class Shape>
class DrawRows
{
protected:
    using Words = typename V::Words;
    using Counts = typename V::Counts;
    using Vector = typename V::Vector;
    using Starting = DrawStarting<V, Shape>;
    static constexpr int32_t kBlocks = V::kBytes / 16;
    static constexpr int32_t kTaps = Shape::kTaps;

    static Words chosen(Words mask, Words later, Words earlier)
    {
        return earlier ^ (mask & (later ^ earlier));
    }

    // A constant by way of memory: what the compiler knows it makes anew for every vector.
    static Words kept_pairs(int16_t even, int16_t odd)
    {
        const int16_t words[8] = {even, odd, even, odd, even, odd, even, odd};
        return V::repeated(words);
    }
    static Words kept(int16_t value) { return kept_pairs(value, value); }

    // Where the first rows of a vector's blocks are loaded.
    struct Sources {
        const uint8_t* at[2];
        Sources(const DrawPlane& plane, const DrawStarts& starts, int32_t b)
        {
            for (int32_t i = 0; i < kBlocks; ++i) {
                const ptrdiff_t column = starts.column[b + i];
                at[i] = plane.src + starts.row[b + i] * plane.stride + column * Shape::kPixelBytes;
            }
        }
    };

    // A row of a drawing reads a few cache lines of a row of the picture, too few for the
    // processor's own prefetching. The next row of the drawing reads the next one of the picture.
    OZR_PREFETCHING static void ask_ahead(const Sources& sources, int64_t stride)
    {
        constexpr int32_t kRowsAhead = 4;
        prefetch(sources.at[0], rows_on(kTaps + kRowsAhead, static_cast<ptrdiff_t>(stride)));
    }

    // Multiples of a way from a node to the next, in 2^-16: ways of up to a whole word need a
    // factor of up to 2, which is the signed factor and once more the way where it exceeds 1.
    struct Ramp {
        Words factor;
        Words once_more;
    };
    // kFirst + 2 or 4 for each pixel or pair, in 16ths.
    static Ramp ramp()
    {
        int16_t factors[8], more[8];
        for (int32_t k = 0; k < 8; ++k) {
            const int32_t pixel = k / Shape::kPixelBytes;
            const int32_t sixteenths = Shape::kFirst + 2 * Shape::kPixelBytes * pixel;
            factors[k] = static_cast<int16_t>(sixteenths * 4096 - (sixteenths >= 8 ? 65536 : 0));
            more[k] = static_cast<int16_t>(sixteenths >= 8 ? -1 : 0);
        }
        return {V::repeated(factors), V::repeated(more)};
    }
    // The same for twice the way of half a word.
    static Words half_ramp()
    {
        int16_t factors[8];
        for (int32_t k = 0; k < 8; ++k)
            factors[k] = static_cast<int16_t>(
                (Shape::kFirst + 2 * Shape::kPixelBytes * (k / Shape::kPixelBytes)) * 2048);
        return V::repeated(factors);
    }

    static Words places(const int32_t* starts, const int32_t* steps, Words half_ramp)
    {
        return V::spread(starts) + V::multiply_high(V::spread(steps), half_ramp);
    }
    template <bool kLimited>
    static Words places_x(const DrawStarts& starts, int32_t b, Words half_ramp)
    {
        const Words x = places(starts.x + b, starts.step_x + b, half_ramp);
        return kLimited ? within(x, starts.least_x + b, starts.most_x + b) : x;
    }
    template <bool kLimited>
    static Words places_y(const DrawStarts& starts, int32_t b, Words half_ramp)
    {
        const Words y = places(starts.y + b, starts.step_y + b, half_ramp);
        return kLimited ? within(y, starts.least_y + b, starts.most_y + b) : y;
    }
    static Words within(Words places, const int32_t* least, const int32_t* most)
    {
        const Words lowest = V::spread(least), limited = V::lesser(places, V::spread(most));
        return chosen(Words(limited < lowest), lowest, limited);
    }
    // Ways and sums on the way wrap; what lies between two words is one.
    static Words between(const int16_t* nodes, const Ramp& ramp)
    {
        const Counts here = Counts(V::spread(nodes));
        const Words way = Words(Counts(V::spread(nodes + 1)) - here);
        return Words(here + Counts(V::multiply_high(way, ramp.factor)) + Counts(way & ramp.once_more));
    }

    // Rows per pixel from those per block: a pixel whose place is n rows further down has its taps
    // n rows further down. The compiler keeps rows in registers only where no loop counts them.
    template <int32_t kTurn, int32_t kRow = 0>
    static void pick_row(Words* rows, Words mask)
    {
        if constexpr (kRow < kTaps + kTurn - 1) {
            rows[kRow] = chosen(mask, rows[kRow + 1], rows[kRow]);
            pick_row<kTurn, kRow + 1>(rows, mask);
        }
    }
    template <int32_t kTurn, int32_t kDone = 0>
    static void pick_rows(Words* rows, Words down)
    {
        if constexpr (kDone < kTurn) {
            pick_row<kTurn - kDone>(rows, Words(down > kDone));
            pick_rows<kTurn, kDone + 1>(rows, down);
        }
    }

    Words half_level = kept(1 << (kDrawShiftBits - 1));

    Words finished(Words sample, Words gain, Words shift) const
    {
        const Words level = V::add_limited(V::multiply_round(sample, gain), shift);
        return V::add_limited(level, half_level) >> kDrawShiftBits;
    }

    static DrawNodes from(const DrawNodes& nodes, int32_t b)
    {
        return {nodes.x + b, nodes.y + b, nodes.gain + b, {nodes.shift[0] + b, nodes.shift[1] + b}};
    }

    // Draws all blocks: kind.template draw<turn>(dst, sources, starts, b, nodes) those of a vector,
    // `kBelow` all others.
    template <DrawLumaRow* kBelow, class Kind>
    static void draw_all(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks,
                         const Kind& kind)
    {
        if (plane.width < kLoad / Shape::kPixelBytes || plane.height < kTaps + kMostTurn)
            return kBelow(dst, plane, nodes, blocks);
        DrawStarts starts;
        for (int32_t done = 0; done < blocks; done += kBlocksAtOnce) {
            const int32_t left = blocks - done, count = left < kBlocksAtOnce ? left : kBlocksAtOnce;
            const DrawNodes here = from(nodes, done);
            uint8_t* out = dst + ptrdiff_t{done} * kDrawBlock;
            Starting::start(plane, here.x, here.y, count, &starts);
            int32_t b = 0;
            for (; b + kBlocks <= count; b += kBlocks) {
                switch (Starting::turn_of(starts, b)) {
                case 0:
                    kind.template draw<0>(out + b * kDrawBlock, plane, starts, b, from(here, b));
                    break;
                case 1:
                    kind.template draw<1>(out + b * kDrawBlock, plane, starts, b, from(here, b));
                    break;
                case 2:
                    kind.template draw<2>(out + b * kDrawBlock, plane, starts, b, from(here, b));
                    break;
                case kMostTurn:
                    kind.template draw<kMostTurn>(out + b * kDrawBlock, plane, starts, b, from(here, b));
                    break;
                case kEdge:
                    kind.template draw<kMostTurn, true>(out + b * kDrawBlock, plane, starts, b,
                                                        from(here, b));
                    break;
                default:
                    kBelow(out + b * kDrawBlock, plane, from(here, b), kBlocks);
                }
            }
            if (b < count)
                kBelow(out + b * kDrawBlock, plane, from(here, b), count - b);
        }
    }
};

template <class V>
class DrawLuma : DrawRows<V, LumaShape>
{
    using Base = DrawRows<V, LumaShape>;
    using typename Base::Vector;
    using typename Base::Words;

    Words steps_ = Base::half_ramp();
    typename Base::Ramp ramp_ = Base::ramp();
    Vector weights_[4];

    // Horizontal weights of a pixel, in pairs of bytes: of its first two taps, and of the last two.
    // And which bytes these are.
    struct Across {
        Words first, last;
        Words first_taps, last_taps;
    };

    // Sixteenths of a pixel as numbers of weights: a zero comes from the other byte.
    Words low_ = Base::kept(0x000F), no_high_ = Base::kept(INT16_MIN);
    Words high_ = Base::kept(0x0F00), no_low_ = Base::kept(0x0080);
    Words first_taps_ = Base::kept(0x0100), last_taps_ = Base::kept(0x0302);

    Words in_high(Words place) const { return ((place << 2) & high_) | no_low_; }

    Across across(Words x) const
    {
        const Words low = ((x >> 6) & low_) | no_high_, high = in_high(x);
        const Words column = x >> kDrawPlaceBits, taps = column | (column << 8);
        return {V::shuffled(weights_[0], low) | V::shuffled(weights_[1], high),
                V::shuffled(weights_[2], low) | V::shuffled(weights_[3], high), taps + first_taps_,
                taps + last_taps_};
    }

    template <int32_t kRows, int32_t kRow = 0>
    static void load_rows(const typename Base::Sources& sources, int64_t stride, const Across& across,
                          Words* rows)
    {
        if constexpr (kRow < kRows) {
            const Vector bytes = V::load_blocks(sources.at, kRow * stride);
            rows[kRow] = V::add_limited(
                V::multiply_add_bytes(Vector(V::shuffled(bytes, across.first_taps)), across.first),
                V::multiply_add_bytes(Vector(V::shuffled(bytes, across.last_taps)), across.last));
            load_rows<kRows, kRow + 1>(sources, stride, across, rows);
        }
    }

    explicit DrawLuma(const int8_t (&cubic)[4][16])
        : weights_{V::repeated(cubic[0]), V::repeated(cubic[1]), V::repeated(cubic[2]), V::repeated(cubic[3])}
    {
    }

public:
    template <int32_t kTurn, bool kLimited = false>
    void draw(uint8_t* dst, const DrawPlane& plane, const DrawStarts& starts, int32_t b,
              const DrawNodes& nodes) const
    {
        Words rows[size_t{4} + kTurn];
        const typename Base::Sources sources(plane, starts, b);
        Base::ask_ahead(sources, plane.stride);
        load_rows<4 + kTurn>(sources, plane.stride,
                             across(Base::template places_x<kLimited>(starts, b, steps_)), rows);
        const Words y = Base::template places_y<kLimited>(starts, b, steps_);
        Base::template pick_rows<kTurn>(rows, y >> kDrawPlaceBits);
        const Words down = in_high(y);  // weights in the upper bytes: Q15
        const auto part = [&](int32_t i) {
            return V::multiply_round(rows[i], V::shuffled(weights_[i], down));
        };
        const Words sample = V::add_limited(V::add_limited(part(1), part(0) + part(3)), part(2));
        V::store_packed(dst, this->finished(sample, Base::between(nodes.gain, ramp_),
                                            Base::between(nodes.shift[0], ramp_)));
    }

    template <DrawLumaRow* kBelow>
    static void draw_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
    {
        Base::template draw_all<kBelow>(dst, plane,
                                        {nodes.x, nodes.y, nodes.gain, {nodes.shift[0], nodes.shift[0]}},
                                        blocks, DrawLuma(kDrawCubic[plane.softness]));
    }
};

template <class V>
class DrawChroma : DrawRows<V, ChromaShape>
{
    using Base = DrawRows<V, ChromaShape>;
    using typename Base::Vector;
    using typename Base::Words;

    Words steps_ = Base::half_ramp();
    typename Base::Ramp ramp_ = Base::ramp();
    Words part_ = Base::kept(63), one_ = Base::kept(64), down_ = Base::kept(127 << 8);
    Words middle_ = Base::kept(128 * 64), neutral_ = Base::kept(128 << kDrawShiftBits);
    Words pairs_ = Base::kept_pairs(0x0200, 0x0301), odd_ = Base::kept_pairs(0, -1);

    template <int32_t kRows, int32_t kRow = 0>
    static void load_rows(const typename Base::Sources& sources, int64_t stride, Words order, Words across,
                          Words* rows)
    {
        if constexpr (kRow < kRows) {
            const Vector bytes = V::load_blocks(sources.at, kRow * stride);
            rows[kRow] = V::multiply_add_bytes(Vector(V::shuffled(bytes, order)), across);
            load_rows<kRows, kRow + 1>(sources, stride, order, across, rows);
        }
    }

public:
    template <int32_t kTurn, bool kLimited = false>
    void draw(uint8_t* dst, const DrawPlane& plane, const DrawStarts& starts, int32_t b,
              const DrawNodes& nodes) const
    {
        const Words x = Base::template places_x<kLimited>(starts, b, steps_) >> 1;
        const Words y = Base::template places_y<kLimited>(starts, b, steps_) >> 1;
        const Words part = (x >> 4) & part_, across = (one_ - part) | (part << 8);
        const Words column = (x >> kDrawPlaceBits) << 1;
        // A pair and the next one, the same byte of both.
        const Words order = (column | (column << 8)) + pairs_;
        Words rows[size_t{2} + kTurn];
        const typename Base::Sources sources(plane, starts, b);
        Base::ask_ahead(sources, plane.stride);
        load_rows<2 + kTurn>(sources, plane.stride, order, across, rows);
        Base::template pick_rows<kTurn>(rows, y >> kDrawPlaceBits);
        const Words down = (y << 5) & down_;
        const Words half = rows[0] + V::multiply_round(rows[1] - rows[0], down) - middle_;
        const Words shift =
            Base::chosen(odd_, Base::between(nodes.shift[1], ramp_), Base::between(nodes.shift[0], ramp_));
        V::store_packed(dst, this->finished(half + half, Base::between(nodes.gain, ramp_), shift + neutral_));
    }

    template <DrawChromaRow* kBelow>
    static void draw_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
    {
        Base::template draw_all<kBelow>(dst, plane, nodes, blocks, DrawChroma());
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
