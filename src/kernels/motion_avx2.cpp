#include <immintrin.h>

#include <stddef.h>

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

// All ones in the last `count` lanes.
__m256i _last_lanes(int32_t count)
{
    alignas(32) static constexpr uint8_t kSteps[2 * kLanes] = {
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    return _load(kSteps + count);
}

}  // namespace

uint32_t sad_area_avx2(const uint8_t* a, int64_t a_stride, const uint8_t* b, int64_t b_stride,
                       int32_t columns, int32_t rows)
{
    if (columns < kLanes)
        return sad_area_sse2(a, a_stride, b, b_stride, columns, rows);
    // The last vector of a row ends with it; what the one before has counted is masked out of both.
    const int32_t last = columns - kLanes;
    const __m256i fresh = _last_lanes(columns % kLanes);
    __m256i sums = _mm256_setzero_si256();
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x <= last; x += kLanes)
            sums = _mm256_add_epi64(sums, _mm256_sad_epu8(_load(a + x), _load(b + x)));
        sums = _mm256_add_epi64(sums, _mm256_sad_epu8(_mm256_and_si256(_load(a + last), fresh),
                                                      _mm256_and_si256(_load(b + last), fresh)));
        a += static_cast<ptrdiff_t>(a_stride);
        b += static_cast<ptrdiff_t>(b_stride);
    }
    return _total(sums);
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
