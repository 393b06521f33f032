// Sums of products that the refined quality compares pictures by.
#ifndef OZR_KERNELS_MATCH_H
#define OZR_KERNELS_MATCH_H

#include <stdint.h>

namespace ozr::kernels
{

// Rows of two pictures, strides in elements.
struct PairedRows {
    const int16_t* a;
    int64_t a_stride;
    const int16_t* b;
    int64_t b_stride;
    int32_t columns;
    int32_t rows;
};

constexpr int32_t kShiftGroup = 8;
constexpr int32_t kMostCorrelated = 63;

// sums[s] = the sum over all rows and columns of a[y][x + s] * b[y][x], for s < shifts, a multiple
// of kShiftGroup: of each row of `a`, columns + shifts - 1 elements are read. None is larger than
// kMostCorrelated either way, so that eight products fit 16 bits (8 * 63 * 63 = 31752). The caller
// sees to it that the sums fit 32: 541 000 products do.
using CorrelateShifts = void(int32_t* sums, const PairedRows& both, int32_t shifts);

// The sum over all rows and columns of a[y][x] * b[y][x]; the caller sees to it that it fits
// 32 bits in any order. Two products of -32768 next to each other do not.
using DotProduct = int32_t(const PairedRows& both);

// A square of places in a picture, Q16 pixels: the first one at (x, y), from there in steps to the
// right and down.
struct PatchPlaces {
    int32_t x, y;
    int32_t right_x, right_y;
    int32_t down_x, down_y;
    int32_t side;
};

// The plane of a picture: at least 2 x 2 pixels.
struct PatchPlane {
    const uint8_t* src;
    int64_t stride;
    int32_t width, height;
};

// dst[side * j + i] = (u (256 - ty) + l ty) >> 13 in Q3, for the place of row j and column i, with
// the 8 bits tx and ty below its point, from the pixels around it:
//   u = pixel(0, 0) (256 - tx) + pixel(0, 1) tx, l = pixel(1, 0) (256 - tx) + pixel(1, 1) tx
// All places are within [0, width - 1) and [0, height - 1).
using SamplePatch = void(int16_t* dst, const PatchPlane& plane, const PatchPlaces& places);

struct MatchKernels {
    CorrelateShifts* correlate_shifts;
    DotProduct* dot_product;
    SamplePatch* sample_patch;
};

namespace scalar
{
CorrelateShifts correlate_shifts;
DotProduct dot_product;
SamplePatch sample_patch;

constexpr void fill(MatchKernels* table)
{
    table->correlate_shifts = correlate_shifts;
    table->dot_product = dot_product;
    table->sample_patch = sample_patch;
}
}  // namespace scalar

namespace sse2
{
CorrelateShifts correlate_shifts;
DotProduct dot_product;

constexpr void fill(MatchKernels* table)
{
    table->correlate_shifts = correlate_shifts;
    table->dot_product = dot_product;
}
}  // namespace sse2

namespace ssse3
{
SamplePatch sample_patch;

constexpr void fill(MatchKernels* table)
{
    table->sample_patch = sample_patch;
}
}  // namespace ssse3

namespace avx2
{
CorrelateShifts correlate_shifts;
DotProduct dot_product;
SamplePatch sample_patch;

constexpr void fill(MatchKernels* table)
{
    table->correlate_shifts = correlate_shifts;
    table->dot_product = dot_product;
    table->sample_patch = sample_patch;
}
}  // namespace avx2

namespace neon
{
CorrelateShifts correlate_shifts;
DotProduct dot_product;
SamplePatch sample_patch;

constexpr void fill(MatchKernels* table)
{
    table->correlate_shifts = correlate_shifts;
    table->dot_product = dot_product;
    table->sample_patch = sample_patch;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
