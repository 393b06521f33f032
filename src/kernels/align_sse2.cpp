#include <emmintrin.h>
#include <stddef.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int32_t kStep = 16;

__m128i _load(const uint8_t* bytes)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// The lanes of a run's last vector that the one before has not counted, as bytes.
__m128i _last_lanes(int32_t count)
{
    alignas(kStep) static constexpr uint8_t kSteps[2 * kStep] = {
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    return _load(kSteps + count);
}

struct Means {
    __m128i a;
    __m128i b;
};

// A half row: its columns, 16 or more, and what its last vector adds.
struct Run {
    int32_t columns;
    __m128i low_lanes;
    __m128i high_lanes;
};

Run _run(int32_t columns)
{
    const __m128i lanes = _last_lanes(columns % kStep);
    return {columns, _mm_unpacklo_epi8(lanes, lanes), _mm_unpackhi_epi8(lanes, lanes)};
}

// Sums of one run. Pixels less their mean lie within -255 and 255, so two products fit a 32-bit lane with room for
// 16 000 additions; a half row has a fraction of that.
struct Sums {
    __m128i aa = _mm_setzero_si128();
    __m128i bb = _mm_setzero_si128();
    __m128i ab = _mm_setzero_si128();

    void add(__m128i a, __m128i b)
    {
        aa = _mm_add_epi32(aa, _mm_madd_epi16(a, a));
        bb = _mm_add_epi32(bb, _mm_madd_epi16(b, b));
        ab = _mm_add_epi32(ab, _mm_madd_epi16(a, b));
    }

    // The totals of a^2, b^2 and a b, in this order.
    __m128i totals() const
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i squares = _mm_add_epi32(_mm_unpacklo_epi32(aa, bb), _mm_unpackhi_epi32(aa, bb));
        const __m128i products = _mm_add_epi32(_mm_unpacklo_epi32(ab, zero), _mm_unpackhi_epi32(ab, zero));
        return _mm_add_epi32(_mm_unpacklo_epi64(squares, products), _mm_unpackhi_epi64(squares, products));
    }
};

__m128i _low(__m128i bytes, __m128i mean)
{
    return _mm_sub_epi16(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()), mean);
}

__m128i _high(__m128i bytes, __m128i mean)
{
    return _mm_sub_epi16(_mm_unpackhi_epi8(bytes, _mm_setzero_si128()), mean);
}

__m128i _correlate_run(const uint8_t* a, const uint8_t* b, const Run& run, const Means& means)
{
    const int32_t last = run.columns - kStep;
    Sums sums;
    for (int32_t x = 0; x <= last; x += kStep) {
        const __m128i p = _load(a + x);
        const __m128i q = _load(b + x);
        sums.add(_low(p, means.a), _low(q, means.b));
        sums.add(_high(p, means.a), _high(q, means.b));
    }
    const __m128i p = _load(a + last);
    const __m128i q = _load(b + last);
    sums.add(_mm_and_si128(_low(p, means.a), run.low_lanes), _mm_and_si128(_low(q, means.b), run.low_lanes));
    sums.add(_mm_and_si128(_high(p, means.a), run.high_lanes),
             _mm_and_si128(_high(q, means.b), run.high_lanes));
    return sums.totals();
}

// Sums of the pixels 0, 0 to 1, ... 0 to 7: at most 8 * 255.
__m128i _prefix(__m128i pixels)
{
    pixels = _mm_add_epi16(pixels, _mm_slli_si128(pixels, 2));
    pixels = _mm_add_epi16(pixels, _mm_slli_si128(pixels, 4));
    return _mm_add_epi16(pixels, _mm_slli_si128(pixels, 8));
}

__m128i _sums_above(const uint32_t* above)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(above));
}

}  // namespace

OzrCorrelation correlate_areas_sse2(const OzrAreaPair& areas, int32_t shift)
{
    const int32_t half = areas.columns >> 1;
    if (half < kStep)
        return correlate_areas_scalar(areas, shift);
    const Means means = {_mm_set1_epi16(static_cast<short>(areas.a_mean)),
                         _mm_set1_epi16(static_cast<short>(areas.b_mean))};
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
    int32_t sums[4];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(sums), totals);
    return {sums[0], sums[1], sums[2]};
}

void integral_row_sse2(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width)
{
    constexpr int32_t kPixels = 8;
    const __m128i zero = _mm_setzero_si128();
    uint32_t row_sum = 0;
    int32_t x = 0;
    for (; x + kPixels <= width; x += kPixels) {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pixels + x));
        const __m128i sums = _prefix(_mm_unpacklo_epi8(bytes, zero));
        const __m128i before = _mm_set1_epi32(static_cast<int32_t>(row_sum));
        __m128i low = _mm_add_epi32(_mm_unpacklo_epi16(sums, zero), before);
        __m128i high = _mm_add_epi32(_mm_unpackhi_epi16(sums, zero), before);
        row_sum += static_cast<uint32_t>(_mm_extract_epi16(sums, kPixels - 1));
        if (above != nullptr) {
            low = _mm_add_epi32(low, _sums_above(above + x));
            high = _mm_add_epi32(high, _sums_above(above + x + kPixels / 2));
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), low);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x + kPixels / 2), high);
    }
    for (; x < width; ++x) {
        row_sum += pixels[x];
        out[x] = row_sum + (above != nullptr ? above[x] : 0);
    }
}
