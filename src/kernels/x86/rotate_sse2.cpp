// Quarter turns, SSE2: blocks of 16 x 16 bytes or 8 x 8 pairs are transposed in registers. A tile
// meets each of its rows for one cache line only, too short for the processor's own prefetching, so
// every block asks for what the same block of the next tile will read and write.
#include <emmintrin.h>
#include <stddef.h>
#include <stdint.h>

#include "base/prefetch.h"
#include "kernels/rotate.h"
#include "kernels/rotate_tiles.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

// Transposes a block by way of an array of its rows.
template <class Element>
void _transpose(uint8_t* to, ptrdiff_t write_step, const uint8_t* from, ptrdiff_t read_step)
{
    constexpr int32_t kEdge = Element::kEdge;
    __m128i rows[static_cast<size_t>(kEdge)];
    for (int32_t i = 0; i < kEdge; ++i) {
        rows[i] = Sse2::load(from + i * read_step);
        prefetch(from + i * read_step, kRotateTile * Element::kBytes);
    }
    Element::transpose(rows);
    for (int32_t i = 0; i < kEdge; ++i) {
        Sse2::store(to + i * write_step, rows[i]);
        prefetch(to + i * write_step, rows_on(kRotateTile, write_step));
    }
}

// Weaving row i with row i + kEdge / 2, for all i, turns the index bits (row, column) of
// every element by one; after as many rounds as a row index has bits, rows and columns
// have changed places.
struct Bytes {
    static constexpr int32_t kEdge = 16;
    static constexpr int32_t kBytes = 1;
    static constexpr Rotate* kClockwise = scalar::rotate_bytes_cw;
    static constexpr Rotate* kCounterClockwise = scalar::rotate_bytes_ccw;

    static void weave(__m128i (&to)[kEdge], const __m128i (&from)[kEdge])
    {
        weave_four(to, from, from + 8);
        weave_four(to + 8, from + 4, from + 12);
    }
    static void transpose(uint8_t* to, ptrdiff_t write_step, const uint8_t* from, ptrdiff_t read_step)
    {
        _transpose<Bytes>(to, write_step, from, read_step);
    }
    static void transpose(__m128i (&rows)[kEdge])
    {
        __m128i woven[kEdge];
        weave(woven, rows);
        weave(rows, woven);
        weave(woven, rows);
        weave(rows, woven);
    }

private:
    static void weave_four(__m128i* to, const __m128i* upper, const __m128i* lower)
    {
        to[0] = _mm_unpacklo_epi8(upper[0], lower[0]);
        to[1] = _mm_unpackhi_epi8(upper[0], lower[0]);
        to[2] = _mm_unpacklo_epi8(upper[1], lower[1]);
        to[3] = _mm_unpackhi_epi8(upper[1], lower[1]);
        to[4] = _mm_unpacklo_epi8(upper[2], lower[2]);
        to[5] = _mm_unpackhi_epi8(upper[2], lower[2]);
        to[6] = _mm_unpacklo_epi8(upper[3], lower[3]);
        to[7] = _mm_unpackhi_epi8(upper[3], lower[3]);
    }
};

struct Pairs {
    static constexpr int32_t kEdge = 8;
    static constexpr int32_t kBytes = 2;
    static constexpr Rotate* kClockwise = scalar::rotate_pairs_cw;
    static constexpr Rotate* kCounterClockwise = scalar::rotate_pairs_ccw;

    static void weave(__m128i (&to)[kEdge], const __m128i (&from)[kEdge])
    {
        to[0] = _mm_unpacklo_epi16(from[0], from[4]);
        to[1] = _mm_unpackhi_epi16(from[0], from[4]);
        to[2] = _mm_unpacklo_epi16(from[1], from[5]);
        to[3] = _mm_unpackhi_epi16(from[1], from[5]);
        to[4] = _mm_unpacklo_epi16(from[2], from[6]);
        to[5] = _mm_unpackhi_epi16(from[2], from[6]);
        to[6] = _mm_unpacklo_epi16(from[3], from[7]);
        to[7] = _mm_unpackhi_epi16(from[3], from[7]);
    }
    static void transpose(uint8_t* to, ptrdiff_t write_step, const uint8_t* from, ptrdiff_t read_step)
    {
        _transpose<Pairs>(to, write_step, from, read_step);
    }
    static void transpose(__m128i (&rows)[kEdge])
    {
        __m128i woven[kEdge];
        weave(woven, rows);
        weave(rows, woven);
        weave(woven, rows);
        for (int32_t i = 0; i < kEdge; ++i)
            rows[i] = woven[i];
    }
};

}  // namespace

void rotate_bytes_cw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    RotateTiles<Bytes, true>::rotate(dst, dst_stride, task);
}

void rotate_bytes_ccw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    RotateTiles<Bytes, false>::rotate(dst, dst_stride, task);
}

void rotate_pairs_cw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    RotateTiles<Pairs, true>::rotate(dst, dst_stride, task);
}

void rotate_pairs_ccw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    RotateTiles<Pairs, false>::rotate(dst, dst_stride, task);
}

}  // namespace ozr::kernels::sse2
