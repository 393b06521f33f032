// Drawing: blocks of 8 luma pixels or 4 chroma pairs from anywhere in a picture. kernels.h explains
// what all kernels have in common.
//
// Numbers at the ends of a block, its nodes, stand for all of it: place, gain and shift run
// linearly in between. Node b begins block b, so that `blocks` blocks have blocks + 1 nodes. With
// the numbers n of a node and d more at the next one, pixel k of a block has
//   n + (d k >> 3)           luma: its gain, shift and place
//   n + (d (4 k + 1) >> 4)   chroma: its gain and shift, and its place in luma pixels, between
//                            those of two of them
#ifndef OZR_KERNELS_DRAW_H
#define OZR_KERNELS_DRAW_H

#include <stdint.h>

namespace ozr::kernels
{

constexpr int32_t kDrawBlock = 8;       // luma pixels
constexpr int32_t kDrawPlaceBits = 10;  // places: Q10 pixels of the luma plane
constexpr int32_t kDrawGainBits = 13;
constexpr int32_t kDrawShiftBits = 5;
constexpr int32_t kDrawMaxShift = 4095;  // the magnitude of a shift: some 128 levels

// A plane of a picture: at least 4 x 4 luma pixels, or 2 x 2 chroma pairs, whose width is
// counted in pairs. How soft luma is drawn from it: which of kDrawCubic.
struct DrawPlane {
    const uint8_t* src;
    int64_t stride;
    int32_t width;
    int32_t height;
    int32_t softness = 0;
};

struct DrawNodes {
    const int32_t* x;
    const int32_t* y;
    const int16_t* gain;      // Q13, none negative
    const int16_t* shift[2];  // Q5: of luma; or of the first and the second byte of chroma pairs
};

// Cubic weights of four pixels, Q7, for a place t / 16 of the way from the second to the third: the
// sharper, the more noise they let through. The sharpest are Catmull's and Rom's,
// (2 t^2 - t^3 - t) / 2, (2 - 5 t^2 + 3 t^3) / 2, (t + 4 t^2 - 3 t^3) / 2 and (t^3 - t^2) / 2; the
// others have 35 and 70 percent of the cubic B-spline's (1 - t)^3 / 6, (4 - 6 t^2 + 3 t^3) / 6 and
// so on. They are at most 127 and add up to 128, the first two or the last two to no more.
constexpr int32_t kDrawSoftnesses = 3;
constexpr int8_t kDrawCubic[kDrawSoftnesses][4][16] = {
    {{0, -4, -6, -8, -9, -9, -9, -9, -8, -7, -6, -4, -3, -2, -1, 0},
     {127, 127, 123, 118, 111, 103, 93, 83, 72, 61, 50, 39, 29, 20, 12, 5},
     {1, 5, 12, 20, 29, 38, 50, 61, 72, 83, 93, 102, 111, 118, 123, 127},
     {0, 0, -1, -2, -3, -4, -6, -7, -8, -9, -9, -9, -9, -8, -6, -4}},
    {{7, 4, 1, -1, -3, -4, -4, -4, -4, -4, -3, -2, -2, -1, 0, 0},
     {114, 112, 109, 105, 100, 93, 85, 77, 68, 59, 50, 41, 33, 25, 18, 12},
     {7, 12, 18, 25, 33, 41, 50, 59, 68, 77, 85, 93, 100, 105, 109, 112},
     {0, 0, 0, -1, -2, -2, -3, -4, -4, -4, -4, -4, -3, -1, 1, 4}},
    {{15, 11, 8, 6, 4, 2, 1, 0, -1, -1, -1, -1, -1, 0, 0, 0},
     {98, 98, 95, 92, 88, 83, 77, 71, 65, 58, 51, 44, 37, 30, 25, 19},
     {15, 19, 25, 30, 37, 44, 51, 58, 65, 71, 77, 83, 88, 92, 95, 98},
     {0, 0, 0, 0, -1, -1, -1, -1, -1, 0, 1, 2, 4, 6, 8, 11}},
};

// dst[k] for the places (x + 32) >> 6 and (y + 32) >> 6, Q4, limited to [1, width - 2) and
// [1, height - 2), with the weights of the 4 bits below the point:
//   h[i] = min(32767, sum over j of pixel(i, j) * weight j)   i, j < 4, from one pixel left of and
//                                                             above the place
//   p[i] = (h[i] * weight i + 64) >> 7                        Q7
//   v    = p[1] + (p[0] + p[3]), then + p[2], each limited to 16 bits
//   g    = (v * gain + 2^14) >> 15                            Q5
//   dst  = (g + shift + 16) >> 5, limited to a byte; the sums before it to 16 bits
using DrawLumaRow = void(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks);

// Both bytes of pair k lie at x = (place - 512) >> 1, y likewise, in Q10 pairs, limited to
// [0, width - 1) and [0, height - 1). With the 6 bits tx and the 7 bits ty below the point, from
// the pair there and its neighbours:
//   h[i] = pixel(i, 0) (64 - tx) + pixel(i, 1) tx                                Q6
//   v    = 2 (h[0] + (((h[1] - h[0]) * (ty << 8) + 2^14) >> 15) - 128 * 64)      Q7
//   dst  = (((v * gain + 2^14) >> 15) + shift + 128 * 32 + 16) >> 5, limited as above
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
