#include "kernels_x86.h"
#include "seam_rows.h"
#include "vectors_avx2.h"

void seam_sum_row_avx2(uint16_t* sums, int8_t* steps, const uint16_t* above, const OzrSeamRow& row)
{
    SeamRows<Avx2>::sum_row(sums, steps, above, row, seam_sum_row_sse2);
}
