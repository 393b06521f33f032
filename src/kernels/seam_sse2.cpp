#include "kernels_scalar.h"
#include "kernels_x86.h"
#include "seam_rows.h"
#include "vectors_sse2.h"

void seam_sum_row_sse2(uint16_t* sums, int8_t* steps, const uint16_t* above, const OzrSeamRow& row)
{
    SeamRows<Sse2>::sum_row(sums, steps, above, row, seam_sum_row_scalar);
}
