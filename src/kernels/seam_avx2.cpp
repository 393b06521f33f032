// Seam costs, AVX2: eight columns at a time.
#include <immintrin.h>
#include <stdint.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int32_t kSumStep = 8;

__m256i _load(const uint32_t* src)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
}

}  // namespace

void seam_accumulate_row_avx2(uint32_t* cost, const uint32_t* above, int32_t width)
{
    const int32_t end = width - 1;  // the last column has no right-hand neighbour
    int32_t x = 1;
    for (; x <= end - kSumStep; x += kSumStep) {
        const __m256i sides = _mm256_min_epu32(_load(above + x - 1), _load(above + x + 1));
        const __m256i least = _mm256_min_epu32(_load(above + x), sides);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(cost + x), _mm256_add_epi32(_load(cost + x), least));
    }
    seam_accumulate_ends_scalar(cost, above, x, width);
}
