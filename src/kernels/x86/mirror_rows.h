// Mirrors in vectors of any width: two vectors from either end are reversed and swapped; the scalar
// function mirrors the rest in the middle. `V` is Sse2 or Avx2 with `reversed`, which takes the
// byte order of a reversed block of 16 bytes.
#ifndef OZR_MIRROR_ROWS_H
#define OZR_MIRROR_ROWS_H

#include <emmintrin.h>

#include "base/prefetch.h"
#include "kernels/mirror.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

template <class V>
struct MirrorRows {
    static constexpr int64_t kStep = 2 * V::kBytes;
    using Vector = typename V::Vector;

    // Swaps two vectors at a time from either end until they would meet; returns the bytes swapped
    // at each end.
    static int64_t swap_ends(uint8_t* row, int64_t bytes, __m128i order)
    {
        int64_t x = 0;
        for (; 2 * (x + kStep) <= bytes; x += kStep) {
            uint8_t* left = row + x;
            uint8_t* right = row + bytes - x - kStep;
            // In most images the next row begins where this one ends.
            prefetch(left, static_cast<uintptr_t>(bytes));
            prefetch(right, static_cast<uintptr_t>(bytes));
            const Vector left0 = V::reversed(V::load(left), order);
            const Vector left1 = V::reversed(V::load(left + V::kBytes), order);
            V::store(left, V::reversed(V::load(right + V::kBytes), order));
            V::store(left + V::kBytes, V::reversed(V::load(right), order));
            V::store(right, left1);
            V::store(right + V::kBytes, left0);
        }
        return x;
    }

    static void bytes_row(uint8_t* row, int32_t count)
    {
        const int64_t x =
            swap_ends(row, count, _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0));
        scalar::mirror_bytes_row(row + x, static_cast<int32_t>(count - 2 * x));
    }

    static void pairs_row(uint8_t* row, int32_t bytes)
    {
        const int64_t x =
            swap_ends(row, bytes, _mm_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1));
        scalar::mirror_pairs_row(row + x, static_cast<int32_t>(bytes - 2 * x));
    }

    static void quads_row(uint8_t* row, int32_t count)
    {
        const int64_t x = swap_ends(row, int64_t{count} * 4,
                                    _mm_setr_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3));
        scalar::mirror_quads_row(row + x, static_cast<int32_t>(count - x / 2));
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
