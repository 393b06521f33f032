#include <smmintrin.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"
#include "seam_rows.h"
#include "vectors_sse2.h"

namespace
{

struct SeamSse41 : Sse2 {
    static Ints lesser(Ints a, Ints b) { return Ints(_mm_min_epi32(Vector(a), Vector(b))); }

    template <int32_t kQuarter>
    static Vector quarter(Vector bytes)
    {
        return kQuarter == 0 ? bytes : _mm_srli_si128(bytes, 4 * kQuarter);
    }

    static Ints widened(Vector bytes) { return Ints(_mm_cvtepu8_epi32(bytes)); }
};

}  // namespace

void seam_sum_row_sse41(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row)
{
    SeamRows<SeamSse41>::sum_row(sums, steps, above, row, seam_sum_row_scalar);
}
