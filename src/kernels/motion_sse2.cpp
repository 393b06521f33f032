#include <emmintrin.h>

#include <stddef.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int32_t kLanes = 16;

__m128i _load(const uint8_t* p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// psadbw leaves one sum per half register, at most 8 * 255 a step: more than 2^31 bytes fit 32 bits.
uint32_t _total(__m128i sums)
{
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_add_epi64(sums, _mm_unpackhi_epi64(sums, sums))));
}

// All ones in the last `count` lanes.
__m128i _last_lanes(int32_t count)
{
    alignas(16) static constexpr uint8_t kSteps[2 * kLanes] = {
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    return _load(kSteps + count);
}

}  // namespace

uint32_t sad_area_sse2(const uint8_t* a, int64_t a_stride, const uint8_t* b, int64_t b_stride,
                       int32_t columns, int32_t rows)
{
    if (columns < kLanes)
        return sad_area_scalar(a, a_stride, b, b_stride, columns, rows);
    // The last vector of a row ends with it; what the one before has counted is masked out of both.
    const int32_t last = columns - kLanes;
    const __m128i fresh = _last_lanes(columns % kLanes);
    __m128i sums = _mm_setzero_si128();
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x <= last; x += kLanes)
            sums = _mm_add_epi64(sums, _mm_sad_epu8(_load(a + x), _load(b + x)));
        sums = _mm_add_epi64(
            sums, _mm_sad_epu8(_mm_and_si128(_load(a + last), fresh), _mm_and_si128(_load(b + last), fresh)));
        a += static_cast<ptrdiff_t>(a_stride);
        b += static_cast<ptrdiff_t>(b_stride);
    }
    return _total(sums);
}

uint32_t sad_const_row_sse2(const uint8_t* a, uint8_t value, int32_t count)
{
    const __m128i values = _mm_set1_epi8(static_cast<char>(value));
    __m128i sums = _mm_setzero_si128();
    int32_t x = 0;
    for (; x <= count - kLanes; x += kLanes)
        sums = _mm_add_epi64(sums, _mm_sad_epu8(_load(a + x), values));
    return _total(sums) + sad_const_row_scalar(a + x, value, count - x);
}
