// Quarter turns, SSE2: a turn is a transposition that takes the rows, or writes the columns, in reverse order. Blocks
// of 16 x 16 bytes or 8 x 8 pairs are transposed in registers; tiles of them keep whole cache lines of both pictures
// at hand. The last block of a tile may overlap the one before it: it writes the same bytes once more. A tile meets each
// of its rows for one cache line only, too short for the processor's own prefetching, so every block asks for what the
// same block of the next tile will read and write.
#include <emmintrin.h>
#include <stddef.h>
#include <stdint.h>

#include "base/prefetch.h"
#include "kernels/rotate.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

constexpr int32_t kTile = 64;  // rows and columns

// Weaving row i with row i + kEdge / 2, for all i, turns the index bits (row, column) of every element by one; after as
// many rounds as a row index has bits, rows and columns have changed places.
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

int32_t _lesser(int32_t a, int32_t b)
{
    return a < b ? a : b;
}

// Both pictures, and the size of the source in elements.
struct Turn {
    uint8_t* dst;
    ptrdiff_t dst_stride;
    const uint8_t* src;
    ptrdiff_t src_stride;
    int32_t width;
    int32_t height;
};

// Turns the block at source column x, row y: the source row that becomes the first destination column is read first.
template <class Element, bool kCw>
void _turn_block(const Turn& turn, int32_t x, int32_t y)
{
    constexpr int32_t kEdge = Element::kEdge;
    const int32_t first_row = kCw ? y + kEdge - 1 : y;
    const int32_t first_line = kCw ? x : turn.width - 1 - x;
    const int32_t column = kCw ? turn.height - kEdge - y : y;
    const ptrdiff_t read_step = kCw ? -turn.src_stride : turn.src_stride;
    const ptrdiff_t write_step = kCw ? turn.dst_stride : -turn.dst_stride;
    const uint8_t* from = turn.src + first_row * turn.src_stride + ptrdiff_t{x} * Element::kBytes;
    uint8_t* to = turn.dst + first_line * turn.dst_stride + ptrdiff_t{column} * Element::kBytes;
    __m128i rows[static_cast<size_t>(kEdge)];
    for (int32_t i = 0; i < kEdge; ++i) {
        rows[i] = Sse2::load(from + i * read_step);
        prefetch(from + i * read_step, kTile * Element::kBytes);
    }
    Element::transpose(rows);
    for (int32_t i = 0; i < kEdge; ++i) {
        Sse2::store(to + i * write_step, rows[i]);
        prefetch(to + i * write_step, rows_on(kTile, write_step));
    }
}

template <class Element, bool kCw>
void _turn_tile(const Turn& turn, int32_t x0, int32_t x1, int32_t y0, int32_t y1)
{
    constexpr int32_t kEdge = Element::kEdge;
    for (int32_t y = y0; y < y1; y += kEdge) {
        for (int32_t x = x0; x < x1; x += kEdge)
            _turn_block<Element, kCw>(turn, _lesser(x, turn.width - kEdge), _lesser(y, turn.height - kEdge));
    }
}

template <class Element, bool kCw>
void _turn(const Turn& turn)
{
    for (int32_t y = 0; y < turn.height; y += _lesser(kTile, turn.height - y)) {
        for (int32_t x = 0; x < turn.width; x += _lesser(kTile, turn.width - x))
            _turn_tile<Element, kCw>(turn, x, x + _lesser(kTile, turn.width - x), y,
                                     y + _lesser(kTile, turn.height - y));
    }
}

template <class Element, bool kCw>
void _rotate(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
             int32_t height)
{
    if (width >= Element::kEdge && height >= Element::kEdge)
        _turn<Element, kCw>({dst, dst_stride, src, src_stride, width, height});
    else if (kCw)
        Element::kClockwise(dst, dst_stride, src, src_stride, width, height);
    else
        Element::kCounterClockwise(dst, dst_stride, src, src_stride, width, height);
}

}  // namespace

void rotate_bytes_cw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                     int32_t height)
{
    _rotate<Bytes, true>(dst, dst_stride, src, src_stride, width, height);
}

void rotate_bytes_ccw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                      int32_t height)
{
    _rotate<Bytes, false>(dst, dst_stride, src, src_stride, width, height);
}

void rotate_pairs_cw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                     int32_t height)
{
    _rotate<Pairs, true>(dst, dst_stride, src, src_stride, width, height);
}

void rotate_pairs_ccw(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                      int32_t height)
{
    _rotate<Pairs, false>(dst, dst_stride, src, src_stride, width, height);
}

}  // namespace ozr::kernels::sse2
