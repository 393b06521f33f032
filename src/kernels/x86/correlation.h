// The correlation of two areas, 16 columns at a time: two vectors of words with Sse2 as `V`, one
// with Avx2. Narrow areas go by 8.
#ifndef OZR_CORRELATION_H
#define OZR_CORRELATION_H

#include <emmintrin.h>
#include <stddef.h>

#include "kernels/align.h"
#include "kernels/last_lanes.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

template <class V, int32_t kColumns = 16>
struct Correlation {
    static constexpr int32_t kStep = kColumns;
    static constexpr int32_t kLanes = V::kBytes / 2;
    static constexpr bool kHasTwoVectors = kLanes < kStep;
    using Vector = typename V::Vector;
    using Words = typename V::Words;
    using Sums = typename V::Sums;

    struct Means {
        Words a;
        Words b;
    };

    // A half row: its columns, kStep or more, and masks of the lanes of its last step, which
    // ends with the half row and so overlaps the step before: only the lanes that were not yet
    // counted are set.
    struct Run {
        int32_t columns;
        Words fresh_first;
        Words fresh_last;
    };

    static Run run(int32_t columns)
    {
        const uint8_t* fresh = last_lanes(kStep, columns % kStep);
        return {columns, V::load_words(fresh) > 0, V::load_words(fresh + kStep - kLanes) > 0};
    }

    // Sums of one half row. A pixel minus the mean is between -255 and 255, so a 32-bit lane holds
    // 16 000 sums of two products; a half row needs a fraction of that.
    Sums aa = {};
    Sums bb = {};
    Sums ab = {};

    void add(Words a, Words b)
    {
        aa += V::multiply_add(a, a);
        ab += V::multiply_add(a, b);
        bb += V::multiply_add(b, b);
    }

    // Sums of neighbouring lanes of `a` and of `b`, interleaved.
    static Sums by_turns(Sums a, Sums b)
    {
        return Sums(V::weave_low_ints(Vector(a), Vector(b))) + Sums(V::weave_high_ints(Vector(a), Vector(b)));
    }

    // The totals of a^2, b^2 and a b, in this order.
    __m128i totals() const
    {
        const Sums squares = by_turns(aa, bb);
        const Sums products = by_turns(ab, Sums{});
        return V::add_halves(Sums(V::weave_low_quads(squares, products)) +
                             Sums(V::weave_high_quads(squares, products)));
    }

    static Words pixels(const uint8_t* src, Words mean) { return V::load_words(src) - mean; }

    static __m128i of_run(const uint8_t* a, const uint8_t* b, const Run& run, const Means& means)
    {
        Correlation sums;
        const int32_t last = run.columns - kStep;
        for (int32_t x = 0; x <= last; x += kStep) {
            sums.add(pixels(a + x, means.a), pixels(b + x, means.b));
            if (kHasTwoVectors)
                sums.add(pixels(a + x + kLanes, means.a), pixels(b + x + kLanes, means.b));
        }
        sums.add(pixels(a + last, means.a) & run.fresh_first, pixels(b + last, means.b) & run.fresh_first);
        if (kHasTwoVectors)
            sums.add(pixels(a + last + kLanes, means.a) & run.fresh_last,
                     pixels(b + last + kLanes, means.b) & run.fresh_last);
        return sums.totals();
    }

    // Areas of at least 2 * kStep columns.
    static CorrelationSums of_areas(const AreaPair& areas, int32_t shift)
    {
        const int32_t half = areas.columns >> 1;
        const Means means = {V::all_words(static_cast<int16_t>(areas.a_mean)),
                             V::all_words(static_cast<int16_t>(areas.b_mean))};
        const Run left = run(half);
        const Run right = run(areas.columns - half);
        const __m128i bits = _mm_cvtsi32_si128(shift);
        __m128i totals = _mm_setzero_si128();
        for (int32_t y = 0; y < areas.rows; ++y) {
            const uint8_t* a = areas.a + static_cast<ptrdiff_t>(y) * areas.a_stride;
            const uint8_t* b = areas.b + static_cast<ptrdiff_t>(y) * areas.b_stride;
            totals = _mm_add_epi32(totals, _mm_sra_epi32(of_run(a, b, left, means), bits));
            totals = _mm_add_epi32(totals, _mm_sra_epi32(of_run(a + half, b + half, right, means), bits));
        }
        int32_t sums[4];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(sums), totals);
        return {sums[0], sums[1], sums[2]};
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
