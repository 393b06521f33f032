// Seam costs, AVX2: thirty-two columns at a time.
#include <immintrin.h>
#include <stdint.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int32_t kStep = 32;
constexpr int32_t kLanes = 8;

__m256i _load(const void* src)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(src));
}

// Stores the sums of eight columns, whose costs are the low bytes, and returns their steps.
__m256i _sum(uint32_t* sums, const uint32_t* above, __m128i costs)
{
    const __m256i straight = _load(above);
    const __m256i left = _load(above - 1);
    const __m256i right = _load(above + 1);
    const __m256i better = _mm256_min_epi32(straight, left);
    const __m256i takes_right = _mm256_cmpgt_epi32(better, right);
    const __m256i least = _mm256_add_epi32(_mm256_cvtepu8_epi32(costs), _mm256_min_epi32(better, right));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums), least);
    return _mm256_sub_epi32(_mm256_andnot_si256(takes_right, _mm256_cmpgt_epi32(straight, left)),
                            takes_right);
}

void _sum_columns(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row, int32_t x)
{
    const __m256i a = _load(row.a + x);
    const __m256i b = _load(row.b + x);
    const __m256i difference = _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a));
    const __m256i costs = _mm256_or_si256(difference, _load(row.mask + x));
    const __m128i low = _mm256_castsi256_si128(costs);
    const __m128i high = _mm256_extracti128_si256(costs, 1);
    const __m256i steps0 = _sum(sums + x, above + x, low);
    const __m256i steps1 = _sum(sums + x + kLanes, above + x + kLanes, _mm_srli_si128(low, kLanes));
    const __m256i steps2 = _sum(sums + x + 2 * kLanes, above + x + 2 * kLanes, high);
    const __m256i steps3 = _sum(sums + x + 3 * kLanes, above + x + 3 * kLanes, _mm_srli_si128(high, kLanes));
    // Packing works within halves: groups of four columns come out as 0 2 4 6 1 3 5 7.
    const __m256i packed =
        _mm256_packs_epi16(_mm256_packs_epi32(steps0, steps1), _mm256_packs_epi32(steps2, steps3));
    const __m256i in_order = _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(steps + x), in_order);
}

}  // namespace

void seam_sum_row_avx2(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row)
{
    const int32_t end = row.width - 1;  // the outer columns lack a neighbour
    if (end - 1 < kStep) {
        seam_sum_row_sse41(sums, steps, above, row);
        return;
    }
    for (int32_t x = 1; x < end - kStep; x += kStep)
        _sum_columns(sums, steps, above, row, x);
    _sum_columns(sums, steps, above, row, end - kStep);  // in part once more
    seam_sum_columns_scalar(sums, steps, above, row, 0, 1);
    seam_sum_columns_scalar(sums, steps, above, row, end, row.width);
}
