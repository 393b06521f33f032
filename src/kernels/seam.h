// Seams: one row of a least-cost path through the differences of two pictures.
#ifndef OZR_KERNELS_SEAM_H
#define OZR_KERNELS_SEAM_H

#include <stdint.h>

namespace ozr::kernels
{

// One row of a least-cost path: two pictures, and a mask whose bytes of 255 make a pixel as
// expensive as the largest difference.
struct SeamRow {
    const uint8_t* a;
    const uint8_t* b;
    const uint8_t* mask;
    int32_t width;  // 2 or more
};

// sums[x] = |a[x] - b[x]| | mask[x], plus the smallest of above[x - 1], above[x], above[x + 1], as
// far as they exist; steps[x] is the step to that smallest one: -1, 0 or 1. 0 wins every tie, -1 a
// tie with 1. Sums are modulo 2^16; they are ordered by their signed distance from above[x], so
// neighbours in `above` must differ by less than 2^15.
using SeamSumRow = void(uint16_t* sums, int8_t* steps, const uint16_t* above, const SeamRow& row);

// The same modulo 2^32, for neighbours that differ by less than 2^31.
using SeamSumWideRow = void(uint32_t* sums, int8_t* steps, const uint32_t* above, const SeamRow& row);

struct SeamKernels {
    SeamSumRow* sum_row;
    SeamSumWideRow* sum_wide_row;  // rarely needed, so no level has a variant
};

namespace scalar
{
SeamSumRow seam_sum_row;
SeamSumWideRow seam_sum_wide_row;

// The same for some columns of a row.
struct SeamColumns {
    int32_t first;
    int32_t end;
};
void seam_sum_columns(uint16_t* sums, int8_t* steps, const uint16_t* above, const SeamRow& row,
                      SeamColumns columns);

constexpr void fill(SeamKernels* table)
{
    table->sum_row = seam_sum_row;
    table->sum_wide_row = seam_sum_wide_row;
}
}  // namespace scalar

namespace sse2
{
SeamSumRow seam_sum_row;

constexpr void fill(SeamKernels* table)
{
    table->sum_row = seam_sum_row;
}
}  // namespace sse2

namespace avx2
{
SeamSumRow seam_sum_row;

constexpr void fill(SeamKernels* table)
{
    table->sum_row = seam_sum_row;
}
}  // namespace avx2

namespace neon
{
SeamSumRow seam_sum_row;

constexpr void fill(SeamKernels* table)
{
    table->sum_row = seam_sum_row;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
