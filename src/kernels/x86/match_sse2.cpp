#include <emmintrin.h>

#include "kernels/match.h"

namespace ozr::kernels::sse2
{

namespace
{

constexpr int32_t kLanes = 8;

__m128i _load(const int16_t* from)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

// The sum of four 32-bit lanes.
int32_t _total(__m128i sums)
{
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(1, 0, 3, 2)));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(sums);
}

void _add(MaskedSums* sums, const MaskedSums& more)
{
    sums->aa += more.aa;
    sums->bb += more.bb;
    sums->ab += more.ab;
}

}  // namespace

// Whole vectors of all rows first, then what is left of the columns as one narrow area.
MaskedSums correlate_masked(const MaskedArea& a, const MaskedArea& b, int32_t columns, int32_t rows)
{
    const int32_t whole = columns > 0 ? columns - columns % kLanes : 0;
    __m128i aa = _mm_setzero_si128();
    __m128i bb = aa;
    __m128i ab = aa;
    for (int32_t y = 0; y < rows; ++y) {
        const int64_t at_a = y * a.stride;
        const int64_t at_b = y * b.stride;
        for (int32_t x = 0; x < whole; x += kLanes) {
            const __m128i p = _load(a.contrast + at_a + x);
            const __m128i q = _load(b.contrast + at_b + x);
            aa = _mm_add_epi32(aa, _mm_madd_epi16(p, _mm_and_si128(p, _load(b.mask + at_b + x))));
            bb = _mm_add_epi32(bb, _mm_madd_epi16(q, _mm_and_si128(q, _load(a.mask + at_a + x))));
            ab = _mm_add_epi32(ab, _mm_madd_epi16(p, q));
        }
    }
    MaskedSums sums = {_total(aa), _total(bb), _total(ab)};
    if (whole < columns)
        _add(&sums,
             scalar::correlate_masked({a.contrast + whole, a.mask + whole, a.stride},
                                      {b.contrast + whole, b.mask + whole, b.stride}, columns - whole, rows));
    return sums;
}

int32_t dot_product(const int16_t* a, const int16_t* b, int32_t count)
{
    __m128i sums = _mm_setzero_si128();
    int32_t i = 0;
    for (; i + kLanes <= count; i += kLanes)
        sums = _mm_add_epi32(sums, _mm_madd_epi16(_load(a + i), _load(b + i)));
    return _total(sums) + scalar::dot_product(a + i, b + i, count - i);
}

}  // namespace ozr::kernels::sse2
