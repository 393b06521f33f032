#include "kernels_x86.h"
#include "seam_rows.h"
#include "vectors_avx2.h"

namespace
{

struct SeamAvx2 : Avx2 {
    static Ints lesser(Ints a, Ints b) { return Ints(_mm256_min_epi32(Vector(a), Vector(b))); }

    template <int32_t kQuarter>
    static __m128i quarter(Vector bytes)
    {
        const __m128i half =
            kQuarter < 2 ? _mm256_castsi256_si128(bytes) : _mm256_extracti128_si256(bytes, 1);
        return kQuarter % 2 == 0 ? half : _mm_srli_si128(half, 8);
    }

    static Ints widened(__m128i bytes) { return Ints(_mm256_cvtepu8_epi32(bytes)); }
};

}  // namespace

void seam_sum_row_avx2(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row)
{
    SeamRows<SeamAvx2>::sum_row(sums, steps, above, row, seam_sum_row_sse41);
}
