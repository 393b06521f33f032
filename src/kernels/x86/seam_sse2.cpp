#include "kernels/seam.h"
#include "kernels/x86/seam_rows.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

void seam_sum_row(uint16_t* sums, int8_t* steps, const uint16_t* above, const SeamRow& row)
{
    SeamRows<Sse2>::sum_row(sums, steps, above, row, scalar::seam_sum_row);
}

}  // namespace ozr::kernels::sse2
