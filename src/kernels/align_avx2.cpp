#include <immintrin.h>
#include <stddef.h>

#include "kernels_x86.h"

namespace
{

constexpr int32_t kStep = 16;

// Sixteen pixels less their mean.
__m256i _load(const uint8_t* bytes, __m256i mean)
{
    return _mm256_sub_epi16(_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes))),
                            mean);
}

int32_t _total(__m256i sums)
{
    __m128i half = _mm_add_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    half = _mm_add_epi32(half, _mm_srli_si128(half, 8));
    half = _mm_add_epi32(half, _mm_srli_si128(half, 4));
    return _mm_cvtsi128_si32(half);
}

struct Means {
    __m256i a;
    __m256i b;
};

// A lane takes two products of at most 255^2 a step: enough for any half row.
OzrCorrelation _correlate_run(const uint8_t* a, const uint8_t* b, int32_t count, const OzrAreaPair& areas,
                              const Means& means)
{
    __m256i aa = _mm256_setzero_si256();
    __m256i bb = aa;
    __m256i ab = aa;
    int32_t x = 0;
    for (; x + kStep <= count; x += kStep) {
        const __m256i p = _load(a + x, means.a);
        const __m256i q = _load(b + x, means.b);
        aa = _mm256_add_epi32(aa, _mm256_madd_epi16(p, p));
        bb = _mm256_add_epi32(bb, _mm256_madd_epi16(q, q));
        ab = _mm256_add_epi32(ab, _mm256_madd_epi16(p, q));
    }
    OzrCorrelation totals = {_total(aa), _total(bb), _total(ab)};
    for (; x < count; ++x) {
        const int32_t p = a[x] - areas.a_mean;
        const int32_t q = b[x] - areas.b_mean;
        totals.aa += p * p;
        totals.bb += q * q;
        totals.ab += p * q;
    }
    return totals;
}

void _add_shifted(OzrCorrelation* totals, const OzrCorrelation& part, int32_t shift)
{
    const auto add = [shift](int32_t* total, int32_t sum) {
        *total = static_cast<int32_t>(static_cast<uint32_t>(*total) + static_cast<uint32_t>(sum >> shift));
    };
    add(&totals->aa, part.aa);
    add(&totals->bb, part.bb);
    add(&totals->ab, part.ab);
}

}  // namespace

OzrCorrelation correlate_areas_avx2(const OzrAreaPair& areas, int32_t shift)
{
    const Means means = {_mm256_set1_epi16(static_cast<short>(areas.a_mean)),
                         _mm256_set1_epi16(static_cast<short>(areas.b_mean))};
    OzrCorrelation totals = {};
    const int32_t half = areas.columns >> 1;
    for (int32_t y = 0; y < areas.rows; ++y) {
        const uint8_t* a = areas.a + static_cast<ptrdiff_t>(y) * areas.a_stride;
        const uint8_t* b = areas.b + static_cast<ptrdiff_t>(y) * areas.b_stride;
        _add_shifted(&totals, _correlate_run(a, b, half, areas, means), shift);
        _add_shifted(&totals, _correlate_run(a + half, b + half, areas.columns - half, areas, means), shift);
    }
    return totals;
}
