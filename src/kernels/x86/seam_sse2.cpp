#include "kernels/scalar/scalar.h"
#include "kernels/x86/seam_rows.h"
#include "kernels/x86/vectors_sse2.h"
#include "kernels/x86/x86.h"

void seam_sum_row_sse2(uint16_t* sums, int8_t* steps, const uint16_t* above, const OzrSeamRow& row)
{
    SeamRows<Sse2>::sum_row(sums, steps, above, row, seam_sum_row_scalar);
}
