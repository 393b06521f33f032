// Sums of products, written once for vectors of two widths.
#ifndef OZR_MATCH_ROWS_H
#define OZR_MATCH_ROWS_H

#include <emmintrin.h>
#include <stdint.h>

#include "kernels/match.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has a copy of its own, compiled for its own
// instruction set.
namespace
{

template <class V>
class MatchRows
{
    using Words = typename V::Words;
    using Ints = typename V::Ints;
    using Sums = typename V::Sums;
    using Vector = typename V::Vector;
    static constexpr int32_t kLanes = V::kBytes / 2;

    static Words words(const int16_t* from) { return Words(V::load(from)); }

    // The sum of all lanes.
    static int32_t total(Sums sums)
    {
        __m128i four = V::add_halves(sums);
        four = _mm_add_epi32(four, _mm_shuffle_epi32(four, _MM_SHUFFLE(1, 0, 3, 2)));
        four = _mm_add_epi32(four, _mm_shuffle_epi32(four, _MM_SHUFFLE(2, 3, 0, 1)));
        return _mm_cvtsi128_si32(four);
    }

    static PairedRows from(const PairedRows& both, int32_t shift)
    {
        return {both.a + shift, both.a_stride, both.b, both.b_stride, both.columns, both.rows};
    }

    // The sum of the products of some columns, of the eight of `b`.
    template <int32_t kCount>
    static Words add_columns(const int16_t* a, typename V::Eight b)
    {
        const Words product = words(a + kCount - 1) * V::template one<kCount - 1>(b);
        if constexpr (kCount > 1)
            return add_columns<kCount - 1>(a, b) + product;
        else
            return product;
    }

    // As many shifts as a vector has lanes, products of eight columns at a time.
    static void correlate_some(int32_t* sums, const PairedRows& both)
    {
        constexpr int32_t kColumns = 8;
        Ints even = {}, odd = {};  // by the lanes of words
        for (int32_t y = 0; y < both.rows; ++y) {
            const int16_t* a = both.a + y * both.a_stride;
            const int16_t* b = both.b + y * both.b_stride;
            const auto add = [&](Words products) {
                even += Ints(Sums(products) << 16) >> 16;
                odd += Ints(products) >> 16;
            };
            int32_t x = 0;
            for (; x + kColumns <= both.columns; x += kColumns)
                add(add_columns<kColumns>(a + x, V::eight(b + x)));
            Words rest = {};
            for (; x < both.columns; ++x)
                rest += words(a + x) * V::all_words(b[x]);
            add(rest);
        }
        const typename V::Two ordered = V::halves(V::weave_low_ints(Vector(even), Vector(odd)),
                                                  V::weave_high_ints(Vector(even), Vector(odd)));
        V::store(sums, ordered.first);
        V::store(sums + kLanes / 2, ordered.second);
    }

public:
    static void correlate(int32_t* sums, const PairedRows& both, int32_t shifts, CorrelateShifts* below)
    {
        int32_t first = 0;
        for (; first + kLanes <= shifts; first += kLanes)
            correlate_some(sums + first, from(both, first));
        if (first < shifts)
            below(sums + first, from(both, first), shifts - first);
    }

    // Whole vectors of all rows, and what is left of the columns as one narrow area.
    static int32_t dot(const PairedRows& both, DotProduct* below)
    {
        const int32_t whole = both.columns > 0 ? both.columns - both.columns % kLanes : 0;
        Sums sums = {};
        for (int32_t x = 0; x < whole; x += kLanes) {
            const int16_t *a = both.a + x, *b = both.b + x;
            for (int32_t y = 0; y < both.rows; ++y, a += both.a_stride, b += both.b_stride)
                sums += V::multiply_add(words(a), words(b));
        }
        if (whole == both.columns)
            return total(sums);
        const PairedRows left = {both.a + whole, both.a_stride,        both.b + whole,
                                 both.b_stride,  both.columns - whole, both.rows};
        return static_cast<int32_t>(static_cast<uint32_t>(total(sums)) + static_cast<uint32_t>(below(left)));
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
