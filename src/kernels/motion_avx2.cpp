#include <immintrin.h>

#include "kernels_x86.h"

namespace
{

constexpr int32_t kLanes = 32;

__m256i _load(const uint8_t* p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

uint32_t _total(__m256i sums)
{
    const __m128i halves = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    return static_cast<uint32_t>(
        _mm_cvtsi128_si32(_mm_add_epi64(halves, _mm_unpackhi_epi64(halves, halves))));
}

}  // namespace

uint32_t sad_row_avx2(const uint8_t* a, const uint8_t* b, int32_t count)
{
    __m256i sums = _mm256_setzero_si256();
    int32_t x = 0;
    for (; x <= count - kLanes; x += kLanes)
        sums = _mm256_add_epi64(sums, _mm256_sad_epu8(_load(a + x), _load(b + x)));
    return _total(sums) + sad_row_sse2(a + x, b + x, count - x);
}

uint32_t sad_const_row_avx2(const uint8_t* a, uint8_t value, int32_t count)
{
    const __m256i values = _mm256_set1_epi8(static_cast<char>(value));
    __m256i sums = _mm256_setzero_si256();
    int32_t x = 0;
    for (; x <= count - kLanes; x += kLanes)
        sums = _mm256_add_epi64(sums, _mm256_sad_epu8(_load(a + x), values));
    return _total(sums) + sad_const_row_sse2(a + x, value, count - x);
}
