#include <emmintrin.h>
#include <stddef.h>

#include "kernels_x86.h"

namespace
{

constexpr int32_t kStep = 16;

__m128i _load(const uint8_t* bytes)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

int32_t _total(__m128i sums)
{
    sums = _mm_add_epi32(sums, _mm_srli_si128(sums, 8));
    sums = _mm_add_epi32(sums, _mm_srli_si128(sums, 4));
    return _mm_cvtsi128_si32(sums);
}

// Sums of one run. Pixels less their mean lie within -255 and 255, so two products fit a 32-bit lane with room for
// 16 000 additions; a half row has a fraction of that.
struct Sums {
    __m128i aa;
    __m128i bb;
    __m128i ab;

    void add(__m128i a, __m128i b)
    {
        aa = _mm_add_epi32(aa, _mm_madd_epi16(a, a));
        bb = _mm_add_epi32(bb, _mm_madd_epi16(b, b));
        ab = _mm_add_epi32(ab, _mm_madd_epi16(a, b));
    }
};

struct Means {
    __m128i a;
    __m128i b;
};

OzrCorrelation _correlate_run(const uint8_t* a, const uint8_t* b, int32_t count, const OzrAreaPair& areas,
                              const Means& means)
{
    const __m128i zero = _mm_setzero_si128();
    Sums sums = {zero, zero, zero};
    int32_t x = 0;
    for (; x + kStep <= count; x += kStep) {
        const __m128i p = _load(a + x);
        const __m128i q = _load(b + x);
        sums.add(_mm_sub_epi16(_mm_unpacklo_epi8(p, zero), means.a),
                 _mm_sub_epi16(_mm_unpacklo_epi8(q, zero), means.b));
        sums.add(_mm_sub_epi16(_mm_unpackhi_epi8(p, zero), means.a),
                 _mm_sub_epi16(_mm_unpackhi_epi8(q, zero), means.b));
    }
    OzrCorrelation totals = {_total(sums.aa), _total(sums.bb), _total(sums.ab)};
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
    const Means means = {_mm_set1_epi16(static_cast<short>(areas.a_mean)),
                         _mm_set1_epi16(static_cast<short>(areas.b_mean))};
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
