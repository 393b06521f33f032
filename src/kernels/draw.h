// Drawing: blocks of 8 luma pixels or 4 chroma pairs from anywhere in a picture. kernels.h explains what all kernels have
// in common.
//
// Numbers at the ends of a block, its nodes, stand for all of it: place, gain and shift run linearly in between. Node b
// begins block b, so that `blocks` blocks have blocks + 1 nodes. With the numbers n of a node and d more at the next one,
// pixel k of a block has
//   n + (d k >> 3)           luma: its gain, shift and place
//   n + (d (4 k + 1) >> 4)   chroma: its gain and shift, and its place in luma pixels, between those of two luma pixels
#ifndef OZR_KERNELS_DRAW_H
#define OZR_KERNELS_DRAW_H

#include <stdint.h>

namespace ozr::kernels
{

constexpr int32_t kDrawBlock = 8;       // luma pixels
constexpr int32_t kDrawPlaceBits = 10;  // places: Q10 pixels of the luma plane
constexpr int32_t kDrawGainBits = 13;
constexpr int32_t kDrawShiftBits = 4;
constexpr int32_t kDrawMaxShift = 2047;  // the magnitude of a shift: some 128 levels

// A plane of a picture: at least 4 x 4 luma pixels, or 2 x 2 chroma pairs, whose width is counted in pairs.
struct DrawPlane {
    const uint8_t* src;
    int64_t stride;
    int32_t width;
    int32_t height;
};

struct DrawNodes {
    const int32_t* x;
    const int32_t* y;
    const int16_t* gain;      // Q13, none negative
    const int16_t* shift[2];  // Q4: of luma; or of the first and the second byte of chroma pairs
};

// Cubic weights (Catmull and Rom) for a place t / 128 of the way from the second to the third of four pixels. In Q15, with
// (a b + 2^14) >> 15 for products, t2 = t t, t3 = t t t; then in Q14
//   w0 = (2 t2 - t3 - t) >> 2,  w3 = (t3 - t2) >> 2,  w2 = (4 t2 - 3 t3 + t) >> 2,  w1 = 2^14 less these.
// Along rows they have 7 bits: (w + 64) >> 7 for the first, second (at most 127) and last, 128 less these for the third;
// what exceeds 127 there goes to the second.
//
// dst[k] for the places x, y, limited to [1, width - 2) and [1, height - 2), with t = the 7 bits below the point:
//   h[i] = min(32767, sum over j of pixel(i, j) * row weight j),  i, j < 4, from one pixel left of and above the place
//   v    = sum of (h[i] * column weight i + 2^14) >> 15           Q6, within 16 bits
//   g    = (v * gain + 2^14) >> 15                                Q4
//   dst  = (g + shift + 8) >> 4, limited to a byte; the sums before it to 16 bits
using DrawLumaRow = void(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks);

// Both bytes of pair k lie at x = (place - 512) >> 1, y likewise, in Q10 pairs, limited to [0, width - 1) and
// [0, height - 1). With the 6 bits tx and the 7 bits ty below the point, from the pair there and its neighbours:
//   h[i] = pixel(i, 0) (64 - tx) + pixel(i, 1) tx                          Q6
//   v    = h[0] + (((h[1] - h[0]) * (ty << 8) + 2^14) >> 15) - 128 * 64
//   dst  = (((v * gain + 2^14) >> 15) + shift + 128 * 16 + 8) >> 4, limited as above
using DrawChromaRow = void(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks);

struct DrawKernels {
    DrawLumaRow* luma_row;
    DrawChromaRow* chroma_row;
};

namespace scalar
{
DrawLumaRow draw_luma_row;
DrawChromaRow draw_chroma_row;

constexpr void fill(DrawKernels* table)
{
    table->luma_row = draw_luma_row;
    table->chroma_row = draw_chroma_row;
}
}  // namespace scalar

namespace ssse3
{
DrawLumaRow draw_luma_row;
DrawChromaRow draw_chroma_row;

constexpr void fill(DrawKernels* table)
{
    table->luma_row = draw_luma_row;
    table->chroma_row = draw_chroma_row;
}
}  // namespace ssse3

namespace avx2
{
DrawLumaRow draw_luma_row;
DrawChromaRow draw_chroma_row;

constexpr void fill(DrawKernels* table)
{
    table->luma_row = draw_luma_row;
    table->chroma_row = draw_chroma_row;
}
}  // namespace avx2

namespace neon
{
DrawLumaRow draw_luma_row;
DrawChromaRow draw_chroma_row;

constexpr void fill(DrawKernels* table)
{
    table->luma_row = draw_luma_row;
    table->chroma_row = draw_chroma_row;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
