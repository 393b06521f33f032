// Patches of pictures, written once for vectors of one run and of two: a run has a half of 16 bytes
// to itself. Patches that are no good for runs are left to the level below.
#ifndef OZR_PATCH_ROWS_H
#define OZR_PATCH_ROWS_H

#include <stdint.h>

#include "kernels/match.h"
#include "kernels/patch_runs.h"

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
    static constexpr int32_t kRun = kPatchRun;  // samples of a half
    static constexpr int32_t kRuns = V::kBytes / 16;

    static Counts chosen(Counts mask, Counts later, Counts earlier)
    {
        return earlier ^ (mask & (later ^ earlier));
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
    static void sample_runs(int16_t* dst, const PatchRuns& runs, int64_t stride, const PatchPlaces& places)
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
        if (!PatchRuns::are_fit(plane, places))
            return below(dst, plane, places);
        const PatchRuns runs(plane, places);
        switch (PatchRuns::turn_of(places)) {
        case 0:
            return sample_runs<0>(dst, runs, plane.stride, places);
        case 1:
            return sample_runs<1>(dst, runs, plane.stride, places);
        default:
            return sample_runs<2>(dst, runs, plane.stride, places);
        }
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
