// Seam costs, SSE4.1: an unsigned 32-bit minimum.
#include <smmintrin.h>
#include <stdint.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int32_t kSumStep = 4;

__m128i _load(const uint32_t* src)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
}

}  // namespace

void seam_accumulate_row_sse41(uint32_t* cost, const uint32_t* above, int32_t width)
{
    const int32_t end = width - 1;  // the last column has no right-hand neighbour
    int32_t x = 1;
    for (; x <= end - kSumStep; x += kSumStep) {
        const __m128i sides = _mm_min_epu32(_load(above + x - 1), _load(above + x + 1));
        const __m128i least = _mm_min_epu32(_load(above + x), sides);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(cost + x), _mm_add_epi32(_load(cost + x), least));
    }
    seam_accumulate_ends_scalar(cost, above, x, width);
}
