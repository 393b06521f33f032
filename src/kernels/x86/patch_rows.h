// Patches of pictures, written once for vectors of eight samples and of twice eight: eight have a
// half of 16 bytes to themselves, and each pixel row of theirs is loaded once. Patches turned or
// reduced by much, and those near the right and the lower edge, are left to the level below.
#ifndef OZR_PATCH_ROWS_H
#define OZR_PATCH_ROWS_H

#include <stddef.h>
#include <stdint.h>

#include "kernels/match.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has a copy of its own, compiled for its own
// instruction set.
namespace
{

template <class V>
class PatchRows
{
    using Words = typename V::Words;
    using Counts = typename V::Counts;
    using Ints = typename V::Ints;
    using Vector = typename V::Vector;
    static constexpr int32_t kRun = 8;  // samples of a half
    static constexpr int32_t kRuns = V::kBytes / 16;
    static constexpr int32_t kMostRuns = 64;
    static constexpr int32_t kLoad = 16;
    static constexpr int32_t kOne = 1 << 16;
    static constexpr int32_t kMostTurn = 2;  // rows that the samples of a run may lie apart

    static Counts chosen(Counts mask, Counts later, Counts earlier)
    {
        return earlier ^ (mask & (later ^ earlier));
    }

    // Runs of eight samples: the first pixel and the first row that are loaded, the place of the
    // first sample from there on, and where they go. The last run of a row ends with it.
    struct Runs {
        const uint8_t* at[kMostRuns + 1];
        int32_t x[kMostRuns + 1], y[kMostRuns + 1];
        int32_t to[kMostRuns + 1];
        int32_t count = 0;

        Runs(const PatchPlane& plane, const PatchPlaces& places)
        {
            const int32_t side = places.side;
            const int32_t rises = places.right_y < 0 ? (kRun - 1) * places.right_y : 0;
            for (int32_t row = 0; row < side; ++row) {
                for (int32_t column = 0; column < side; column += kRun) {
                    const int32_t first = column < side - kRun ? column : side - kRun;
                    const int32_t x_at = places.x + first * places.right_x + row * places.down_x;
                    const int32_t y_at = places.y + first * places.right_y + row * places.down_y;
                    const int32_t top = (y_at + rises) >> 16;
                    at[count] = plane.src + top * plane.stride + (x_at >> 16);
                    x[count] = x_at & (kOne - 1);
                    y[count] = y_at - top * kOne;
                    to[count] = row * side + first;
                    ++count;
                }
            }
            // A vector of two may hold the last one twice.
            at[count] = at[count - 1];
            x[count] = x[count - 1];
            y[count] = y[count - 1];
            to[count] = to[count - 1];
        }
    };

    // How far the samples of a patch reach from the first one.
    static int32_t most(int32_t right, int32_t down, int32_t side)
    {
        return (side - 1) * ((right > 0 ? right : 0) + (down > 0 ? down : 0));
    }

    // Whether whole loads of whole runs stay inside the picture, and hold what they are for.
    static bool is_fit(const PatchPlane& plane, const PatchPlaces& places)
    {
        constexpr int32_t kMostDown = kMostTurn * kOne / (kRun - 1);
        const int32_t side = places.side, in_row = (side + kRun - 1) / kRun;
        if (side < kRun || side * in_row > kMostRuns || places.right_x < 0 || places.right_x > 2 * kOne ||
            places.right_y < -kMostDown || places.right_y > kMostDown)
            return false;
        const int32_t right = places.x + most(places.right_x, places.down_x, side);
        const int32_t bottom = places.y + most(places.right_y, places.down_y, side);
        return (right >> 16) + kLoad <= plane.width && (bottom >> 16) + kMostTurn + 2 <= plane.height;
    }

    // Q8 places of all samples from those of the first ones, in Q16.
    struct Steps {
        Ints low, high;
        explicit Steps(int32_t step)
        {
            int32_t ways[kRun];
            for (int32_t i = 0; i < kRun; ++i)
                ways[i] = i * step;
            low = V::repeated(ways);
            high = V::repeated(ways + kRun / 2);
        }
        Words from(const int32_t* starts) const
        {
            const Ints first = V::spread(starts);
            return V::pack((first + low) >> 8, (first + high) >> 8);
        }
    };

    // Two pixels of a row for each sample, weighted: a 16-bit number without a sign.
    static Counts across(Vector row, Words order, Words weight)
    {
        constexpr int16_t kDifference = 0x01FF;  // bytes 1 and -1
        const Words pair = V::shuffled(row, order);
        const Words way = V::multiply_add_bytes(Vector(pair), V::all_words(kDifference));
        return (Counts(pair) << 8) + Counts(way) * Counts(weight);
    }

    // (upper * (256 - down) + lower * down) >> 13; numbers without a sign are taken as 2^15 less.
    static Words between(Counts upper, Counts lower, Words down)
    {
        const Words u = Words(upper ^ 0x8000), l = Words(lower ^ 0x8000), up = 256 - down;
        const auto sum = [](Vector values, Vector weights) {
            return Ints(V::multiply_add(Words(values), Words(weights))) >> 13;
        };
        return V::pack(sum(V::weave_low_words(u, l), V::weave_low_words(up, down)),
                       sum(V::weave_high_words(u, l), V::weave_high_words(up, down))) +
               1024;
    }

    template <int32_t kTurn>
    static Words sampled(const uint8_t* const* at, int64_t stride, Words x, Words y)
    {
        const Words column = x >> 8, order = (column | (column << 8)) + 0x0100;
        const Words weight = x & 255, down = y >> 8;
        const auto row = [&](int32_t i) { return across(V::load_blocks(at, i * stride), order, weight); };
        Counts upper = row(0), lower = row(1);
        if constexpr (kTurn > 0) {
            const Counts second = lower, third = row(2);
            upper = chosen(Counts(down > 0), second, upper);
            lower = chosen(Counts(down > 0), third, second);
            if constexpr (kTurn > 1) {
                upper = chosen(Counts(down > 1), third, upper);
                lower = chosen(Counts(down > 1), row(3), lower);
            }
        }
        return between(upper, lower, y & 255);
    }

    template <int32_t kTurn>
    static void sample_runs(int16_t* dst, const Runs& runs, int64_t stride, const PatchPlaces& places)
    {
        const Steps right(places.right_x), down(places.right_y);
        for (int32_t i = 0; i < runs.count; i += kRuns)
            V::store_blocks(
                dst, runs.to + i,
                sampled<kTurn>(runs.at + i, stride, right.from(runs.x + i), down.from(runs.y + i)));
    }

public:
    static void sample(int16_t* dst, const PatchPlane& plane, const PatchPlaces& places, SamplePatch* below)
    {
        if (!is_fit(plane, places))
            return below(dst, plane, places);
        const Runs runs(plane, places);
        const int32_t way = (kRun - 1) * (places.right_y < 0 ? -places.right_y : places.right_y);
        if (way == 0)
            sample_runs<0>(dst, runs, plane.stride, places);
        else if (way <= kOne)
            sample_runs<1>(dst, runs, plane.stride, places);
        else
            sample_runs<2>(dst, runs, plane.stride, places);
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
