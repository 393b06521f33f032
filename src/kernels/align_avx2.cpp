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

// The 16-bit lanes of a run's last vector that the one before has not counted.
__m256i _last_lanes(int32_t count)
{
    alignas(kStep) static constexpr uint8_t kSteps[2 * kStep] = {
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    return _mm256_cvtepi8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(kSteps + count)));
}

struct Means {
    __m256i a;
    __m256i b;
};

// A half row: its columns, 16 or more, and what its last vector adds.
struct Run {
    int32_t columns;
    __m256i last_lanes;
};

Run _run(int32_t columns)
{
    return {columns, _last_lanes(columns % kStep)};
}

// A lane takes two products of at most 255^2 a step: enough for any half row.
struct Sums {
    __m256i aa = _mm256_setzero_si256();
    __m256i bb = _mm256_setzero_si256();
    __m256i ab = _mm256_setzero_si256();

    void add(__m256i a, __m256i b)
    {
        aa = _mm256_add_epi32(aa, _mm256_madd_epi16(a, a));
        bb = _mm256_add_epi32(bb, _mm256_madd_epi16(b, b));
        ab = _mm256_add_epi32(ab, _mm256_madd_epi16(a, b));
    }

    // The totals of a^2, b^2 and a b, in this order.
    __m128i totals() const
    {
        const __m256i pairs = _mm256_hadd_epi32(_mm256_hadd_epi32(aa, bb), _mm256_hadd_epi32(ab, ab));
        return _mm_add_epi32(_mm256_castsi256_si128(pairs), _mm256_extracti128_si256(pairs, 1));
    }
};

__m128i _correlate_run(const uint8_t* a, const uint8_t* b, const Run& run, const Means& means)
{
    const int32_t last = run.columns - kStep;
    Sums sums;
    for (int32_t x = 0; x <= last; x += kStep)
        sums.add(_load(a + x, means.a), _load(b + x, means.b));
    sums.add(_mm256_and_si256(_load(a + last, means.a), run.last_lanes),
             _mm256_and_si256(_load(b + last, means.b), run.last_lanes));
    return sums.totals();
}

}  // namespace

OzrCorrelation correlate_areas_avx2(const OzrAreaPair& areas, int32_t shift)
{
    const int32_t half = areas.columns >> 1;
    if (half < kStep)
        return correlate_areas_sse2(areas, shift);
    const Means means = {_mm256_set1_epi16(static_cast<short>(areas.a_mean)),
                         _mm256_set1_epi16(static_cast<short>(areas.b_mean))};
    const Run left = _run(half);
    const Run right = _run(areas.columns - half);
    const __m128i bits = _mm_cvtsi32_si128(shift);
    __m128i totals = _mm_setzero_si128();
    for (int32_t y = 0; y < areas.rows; ++y) {
        const uint8_t* a = areas.a + static_cast<ptrdiff_t>(y) * areas.a_stride;
        const uint8_t* b = areas.b + static_cast<ptrdiff_t>(y) * areas.b_stride;
        totals = _mm_add_epi32(totals, _mm_sra_epi32(_correlate_run(a, b, left, means), bits));
        totals = _mm_add_epi32(totals, _mm_sra_epi32(_correlate_run(a + half, b + half, right, means), bits));
    }
    return {_mm_cvtsi128_si32(totals), _mm_extract_epi32(totals, 1), _mm_extract_epi32(totals, 2)};
}
