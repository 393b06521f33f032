// Mirrors, SSSE3: 16 bytes from either end change places and order; the scalar function mirrors what remains in the
// middle.
#include <stdint.h>
#include <tmmintrin.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int64_t kStep = 16;

// Swaps blocks of 16 bytes as long as the two do not meet; returns the bytes done at either end.
int64_t _swap_ends(uint8_t* row, int64_t bytes, __m128i order)
{
    int64_t x = 0;
    for (; 2 * x + 2 * kStep <= bytes; x += kStep) {
        __m128i* left = reinterpret_cast<__m128i*>(row + x);
        __m128i* right = reinterpret_cast<__m128i*>(row + bytes - kStep - x);
        const __m128i from_left = _mm_shuffle_epi8(_mm_loadu_si128(left), order);
        _mm_storeu_si128(left, _mm_shuffle_epi8(_mm_loadu_si128(right), order));
        _mm_storeu_si128(right, from_left);
    }
    return x;
}

}  // namespace

void mirror_bytes_row_ssse3(uint8_t* row, int32_t count)
{
    const __m128i order = _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    const int64_t x = _swap_ends(row, count, order);
    mirror_bytes_row_scalar(row + x, static_cast<int32_t>(count - 2 * x));
}

void mirror_pairs_row_ssse3(uint8_t* row, int32_t bytes)
{
    const __m128i order = _mm_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
    const int64_t x = _swap_ends(row, bytes, order);
    mirror_pairs_row_scalar(row + x, static_cast<int32_t>(bytes - 2 * x));
}

void mirror_quads_row_ssse3(uint8_t* row, int32_t count)
{
    const __m128i order = _mm_setr_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);
    const int64_t x = _swap_ends(row, int64_t{count} * 4, order);
    mirror_quads_row_scalar(row + x, static_cast<int32_t>(count - x / 2));
}
