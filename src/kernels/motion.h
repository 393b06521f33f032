// Motion between preview frames: sums of absolute differences.
#ifndef OZR_KERNELS_MOTION_H
#define OZR_KERNELS_MOTION_H

#include <stdint.h>

namespace ozr::kernels
{

// A part of a frame. By value it takes two registers, as its members alone would.
struct FrameArea {
    const uint8_t* data;
    int64_t stride;  // bytes; 0 to compare every row with the same one
};

// Sum of |a - b| over `rows` rows of `columns` bytes, modulo 2^32.
using SadArea = uint32_t(FrameArea a, FrameArea b, int32_t columns, int32_t rows);

// Sum of |a[x] - value| over `count` bytes; 0 for a count below 1.
using SadConstRow = uint32_t(const uint8_t* a, uint8_t value, int32_t count);

struct MotionKernels {
    SadArea* sad_area;
    SadConstRow* sad_const_row;
};

namespace scalar
{
SadArea sad_area;
SadConstRow sad_const_row;

constexpr void fill(MotionKernels* table)
{
    table->sad_area = sad_area;
    table->sad_const_row = sad_const_row;
}
}  // namespace scalar

namespace sse2
{
SadArea sad_area;
SadConstRow sad_const_row;

constexpr void fill(MotionKernels* table)
{
    table->sad_area = sad_area;
    table->sad_const_row = sad_const_row;
}
}  // namespace sse2

namespace avx2
{
SadArea sad_area;
SadConstRow sad_const_row;

constexpr void fill(MotionKernels* table)
{
    table->sad_area = sad_area;
    table->sad_const_row = sad_const_row;
}
}  // namespace avx2

namespace neon
{
SadArea sad_area;
SadConstRow sad_const_row;

constexpr void fill(MotionKernels* table)
{
    table->sad_area = sad_area;
    table->sad_const_row = sad_const_row;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
