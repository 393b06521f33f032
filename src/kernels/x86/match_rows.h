// Sums of products, written once for vectors of two widths. The last vector of a row ends with the
// row, and counts only the lanes that no other has counted.
#ifndef OZR_MATCH_ROWS_H
#define OZR_MATCH_ROWS_H

#include <emmintrin.h>
#include <stdint.h>

#include "kernels/last_lanes.h"
#include "kernels/match.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

template <class V>
class MatchRows
{
    using Words = typename V::Words;
    using Sums = typename V::Sums;
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

public:
    static MaskedSums correlate(const MaskedArea& a, const MaskedArea& b, int32_t columns, int32_t rows,
                                CorrelateMasked* below)
    {
        if (columns < kLanes)
            return below(a, b, columns, rows);
        const int32_t whole = columns - columns % kLanes, last = columns - kLanes;
        const Words left =
            words(reinterpret_cast<const int16_t*>(last_lanes(V::kBytes, 2 * (columns - whole))));
        Sums aa = {}, bb = {}, ab = {};
        const auto add = [&](const int16_t* p, const int16_t* p_mask, const int16_t* q, const int16_t* q_mask,
                             Words counted) {
            const Words of_a = words(p) & counted, of_b = words(q) & counted;
            aa += V::multiply_add(of_a, of_a & words(q_mask));
            bb += V::multiply_add(of_b, of_b & words(p_mask));
            ab += V::multiply_add(of_a, of_b);
        };
        for (int32_t y = 0; y < rows; ++y) {
            const int16_t *p = a.contrast + y * a.stride, *p_mask = a.mask + y * a.stride;
            const int16_t *q = b.contrast + y * b.stride, *q_mask = b.mask + y * b.stride;
            for (int32_t x = 0; x < whole; x += kLanes)
                add(p + x, p_mask + x, q + x, q_mask + x, V::all_words(-1));
            if (whole < columns)
                add(p + last, p_mask + last, q + last, q_mask + last, left);
        }
        return {total(aa), total(bb), total(ab)};
    }

    static int32_t dot(const int16_t* a, const int16_t* b, int32_t count, DotProduct* below)
    {
        Sums sums = {};
        int32_t i = 0;
        for (; i + kLanes <= count; i += kLanes)
            sums += V::multiply_add(words(a + i), words(b + i));
        return static_cast<int32_t>(static_cast<uint32_t>(total(sums)) +
                                    static_cast<uint32_t>(below(a + i, b + i, count - i)));
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
