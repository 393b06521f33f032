#include <emmintrin.h>

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

}  // namespace

uint32_t sad_row_sse2(const uint8_t* a, const uint8_t* b, int32_t count)
{
    __m128i sums = _mm_setzero_si128();
    int32_t x = 0;
    for (; x <= count - kLanes; x += kLanes)
        sums = _mm_add_epi64(sums, _mm_sad_epu8(_load(a + x), _load(b + x)));
    return _total(sums) + sad_row_scalar(a + x, b + x, count - x);
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
