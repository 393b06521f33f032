// Alignment: integral images and correlation sums.
#ifndef OZR_KERNELS_ALIGN_H
#define OZR_KERNELS_ALIGN_H

#include <stdint.h>

namespace ozr::kernels
{

// One row of an integral image: out[x] = above[x] + pixels[0] + ... + pixels[x], modulo 2^32. A
// null `above` counts as zeros.
using IntegralRow = void(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width);

// The correlation of two areas: the sums of a^2, b^2 and a*b, where a and b are pixels minus the
// mean of their area.
struct CorrelationSums {
    int32_t aa;
    int32_t bb;
    int32_t ab;
};

// Two areas of one size.
struct AreaPair {
    const uint8_t* a;
    int32_t a_stride;
    int32_t a_mean;
    const uint8_t* b;
    int32_t b_stride;
    int32_t b_mean;
    int32_t columns;
    int32_t rows;
};

// Each row is summed in two halves, columns [0, columns / 2) and the rest; the three sums of each
// half are shifted right arithmetically by `shift` and then added to the totals, modulo 2^32.
// Shifted per half row, not per row: the split decides which bits are lost and so belongs to the
// result. The sum of a half row fits 32 bits up to 33 025 columns (255^2 each).
using CorrelateAreas = CorrelationSums(const AreaPair& areas, int32_t shift);

struct AlignKernels {
    IntegralRow* integral_row;
    CorrelateAreas* correlate_areas;
};

namespace scalar
{
IntegralRow integral_row;
CorrelateAreas correlate_areas;

// The last columns of a row, for variants that have come to the end of whole vectors: the pixels
// before them add up to `sum`.
void integral_rest(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t columns,
                   uint32_t sum);

constexpr void fill(AlignKernels* table)
{
    table->integral_row = integral_row;
    table->correlate_areas = correlate_areas;
}
}  // namespace scalar

namespace sse2
{
IntegralRow integral_row;
CorrelateAreas correlate_areas;

constexpr void fill(AlignKernels* table)
{
    table->integral_row = integral_row;
    table->correlate_areas = correlate_areas;
}
}  // namespace sse2

namespace avx2
{
IntegralRow integral_row;
CorrelateAreas correlate_areas;

constexpr void fill(AlignKernels* table)
{
    table->integral_row = integral_row;
    table->correlate_areas = correlate_areas;
}
}  // namespace avx2

namespace neon
{
IntegralRow integral_row;
CorrelateAreas correlate_areas;

constexpr void fill(AlignKernels* table)
{
    table->integral_row = integral_row;
    table->correlate_areas = correlate_areas;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
