#include <immintrin.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

// Positions are Q22.10.
constexpr uint32_t kFracBits = 10;
constexpr int32_t kOne = 1 << kFracBits;
constexpr int32_t kOutputs = 8;
constexpr uint32_t kBytesRead = 4;  // of each gathered sample

// The samples at and right of a position, as the 16-bit halves of a lane.
__m256i _gather_gray(const uint8_t* row, __m256i columns)
{
    const __m256i bytes = _mm256_i32gather_epi32(reinterpret_cast<const int*>(row), columns, 1);
    const __m256i left = _mm256_and_si256(bytes, _mm256_set1_epi32(0x000000FF));
    const __m256i right = _mm256_and_si256(bytes, _mm256_set1_epi32(0x0000FF00));
    return _mm256_or_si256(left, _mm256_slli_epi32(right, 8));
}

__m256i _gather_yuyv(const uint8_t* row, __m256i columns)
{
    const __m256i bytes = _mm256_i32gather_epi32(reinterpret_cast<const int*>(row), columns, 2);
    return _mm256_and_si256(bytes, _mm256_set1_epi32(0x00FF00FF));
}

__m256i _weights(__m256i positions)
{
    const __m256i fractions = _mm256_and_si256(positions, _mm256_set1_epi32(kOne - 1));
    return _mm256_or_si256(_mm256_sub_epi32(_mm256_set1_epi32(kOne), fractions),
                           _mm256_slli_epi32(fractions, 16));
}

void _store_low_bytes(uint8_t* dst, __m256i values)
{
    const __m128i words =
        _mm_packus_epi32(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm_packus_epi16(words, words));
}

// As many outputs as can be made eight at a time; all four bytes of a sample are readable while it lies `reach` columns
// before the last one. The largest sum is 255 * 2^20.
template <class Gather>
int32_t _resample(uint8_t* dst, int32_t dst_width, const uint8_t* top, const uint8_t* bottom, uint32_t step,
                  uint32_t fraction, uint32_t reach, Gather gather)
{
    const __m256i ramp = _mm256_mullo_epi32(_mm256_set1_epi32(static_cast<int32_t>(step)),
                                            _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    const __m256i below = _mm256_set1_epi32(static_cast<int32_t>(fraction));
    const __m256i above = _mm256_sub_epi32(_mm256_set1_epi32(kOne), below);
    const uint32_t last = ozr_last_column_read(dst_width, step);
    uint32_t position = 0;
    int32_t x = 0;
    for (; x + kOutputs <= dst_width; x += kOutputs, position += kOutputs * step) {
        if (((position + (kOutputs - 1) * step) >> kFracBits) + reach > last)
            break;
        const __m256i positions = _mm256_add_epi32(_mm256_set1_epi32(static_cast<int32_t>(position)), ramp);
        const __m256i columns = _mm256_srli_epi32(positions, kFracBits);
        const __m256i weights = _weights(positions);
        const __m256i upper = _mm256_madd_epi16(gather(top, columns), weights);
        const __m256i lower = _mm256_madd_epi16(gather(bottom, columns), weights);
        const __m256i sum =
            _mm256_add_epi32(_mm256_mullo_epi32(upper, above), _mm256_mullo_epi32(lower, below));
        _store_low_bytes(dst + x, _mm256_srli_epi32(sum, 2 * kFracBits));
    }
    return x;
}

}  // namespace

void resample_gray_row_avx2(uint8_t* dst, int32_t dst_width, const uint8_t* top, const uint8_t* bottom,
                            uint32_t step, uint32_t fraction)
{
    const int32_t x =
        _resample(dst, dst_width, top, bottom, step, fraction, kBytesRead - 1,
                  [](const uint8_t* row, __m256i columns) { return _gather_gray(row, columns); });
    resample_gray_rest(dst + x, dst_width - x, top, bottom, static_cast<uint32_t>(x) * step, step, fraction);
}

void resample_yuyv_row_avx2(uint8_t* dst, int32_t dst_width, const uint8_t* top, const uint8_t* bottom,
                            uint32_t step, uint32_t fraction)
{
    const int32_t x =
        _resample(dst, dst_width, top, bottom, step, fraction, kBytesRead / 2,
                  [](const uint8_t* row, __m256i columns) { return _gather_yuyv(row, columns); });
    resample_yuyv_rest(dst + x, dst_width - x, top, bottom, static_cast<uint32_t>(x) * step, step, fraction);
}
