// Bilinear resampling, AVX2: byte shuffles fetch the samples of eight columns at a time; where
// these are too far apart for that, gathers do.
#include <immintrin.h>
#include <stddef.h>

#include "kernels/resample.h"
#include "kernels/x86/resample_plan.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

namespace
{

constexpr int32_t kOutputs = 8;

// floor((upper * above + lower * below) / 2^20) as bytes; the largest sum is 255 * 2^20.
void _store_rows(uint8_t* dst, __m256i upper, __m256i lower, int32_t fraction)
{
    const __m256i below = _mm256_set1_epi32(fraction);
    const __m256i above = _mm256_set1_epi32(static_cast<int32_t>(kResampleOne) - fraction);
    const __m256i sum = _mm256_add_epi32(_mm256_mullo_epi32(upper, above), _mm256_mullo_epi32(lower, below));
    const __m256i values = _mm256_srli_epi32(sum, 2 * kResampleFracBits);
    const __m128i words =
        _mm_packus_epi32(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm_packus_epi16(words, words));
}

// The two samples of each column in `row`, times their weights: at most 255 * 1024.
template <bool kTwoLoads>
__m256i _columns(const uint8_t* row, const PlanGroup& left, const PlanGroup& right)
{
    __m256i samples = _mm256_shuffle_epi8(Avx2::load_halves(row + left.loads[0], row + right.loads[0]),
                                          Avx2::load_halves(left.order[0], right.order[0]));
    if (kTwoLoads)
        samples = _mm256_or_si256(
            samples, _mm256_shuffle_epi8(Avx2::load_halves(row + left.loads[1], row + right.loads[1]),
                                         Avx2::load_halves(left.order[1], right.order[1])));
    return _mm256_madd_epi16(samples, Avx2::load_halves(left.weights, right.weights));
}

struct PlannedRow {
    template <bool kTwoLoads>
    static void resample(uint8_t* dst, const ResampleRows& rows, const ResamplePlan& plan)
    {
        for (int32_t g = 0; g < plan.groups; g += 2) {
            const PlanGroup& left = plan.group[g];
            const PlanGroup& right = plan.group[g + 1];
            _store_rows(dst + plan.dst[g], _columns<kTwoLoads>(rows.top, left, right),
                        _columns<kTwoLoads>(rows.bottom, left, right), static_cast<int32_t>(rows.fraction));
        }
    }
};

// Gathers the samples at a position and to its right as the two 16-bit halves of a lane; reads four
// bytes from the position on.
struct GatherGray {
    static constexpr int32_t kPixelBytes = 1;
    static constexpr uint32_t kReach = 3;  // columns right of the position that are read

    static __m256i samples(const uint8_t* row, __m256i columns)
    {
        const __m256i bytes = _mm256_i32gather_epi32(reinterpret_cast<const int*>(row), columns, 1);
        const __m256i left = _mm256_and_si256(bytes, _mm256_set1_epi32(0x000000FF));
        const __m256i right = _mm256_and_si256(bytes, _mm256_set1_epi32(0x0000FF00));
        return _mm256_or_si256(left, _mm256_slli_epi32(right, 8));
    }

    static void rest(uint8_t* dst, int32_t width, const ResampleRows& rows, uint32_t position, uint32_t step)
    {
        scalar::resample_gray_rest(dst, width, rows, position, step);
    }
};

struct GatherYuyv {
    static constexpr int32_t kPixelBytes = 2;
    static constexpr uint32_t kReach = 2;

    static __m256i samples(const uint8_t* row, __m256i columns)
    {
        const __m256i bytes = _mm256_i32gather_epi32(reinterpret_cast<const int*>(row), columns, 2);
        return _mm256_and_si256(bytes, _mm256_set1_epi32(0x00FF00FF));
    }

    static void rest(uint8_t* dst, int32_t width, const ResampleRows& rows, uint32_t position, uint32_t step)
    {
        scalar::resample_yuyv_rest(dst, width, rows, position, step);
    }
};

__m256i _weights(__m256i positions)
{
    const __m256i fractions =
        _mm256_and_si256(positions, _mm256_set1_epi32(static_cast<int32_t>(kResampleOne) - 1));
    return _mm256_or_si256(_mm256_sub_epi32(_mm256_set1_epi32(static_cast<int32_t>(kResampleOne)), fractions),
                           _mm256_slli_epi32(fractions, 16));
}

template <class Gather>
void _gather_row(uint8_t* dst, const ResampleRows& rows, const ResampleTask& task)
{
    const uint32_t step = task.step_x;
    const __m256i ramp = _mm256_mullo_epi32(_mm256_set1_epi32(static_cast<int32_t>(step)),
                                            _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    const uint32_t last = resample_last_column(task);
    uint32_t position = 0;
    int32_t x = 0;
    for (; x + kOutputs <= task.width; x += kOutputs, position += kOutputs * step) {
        if (((position + (kOutputs - 1) * step) >> kResampleFracBits) + Gather::kReach > last)
            break;
        const __m256i positions = _mm256_add_epi32(_mm256_set1_epi32(static_cast<int32_t>(position)), ramp);
        const __m256i columns = _mm256_srli_epi32(positions, kResampleFracBits);
        const __m256i weights = _weights(positions);
        _store_rows(dst + x, _mm256_madd_epi16(Gather::samples(rows.top, columns), weights),
                    _mm256_madd_epi16(Gather::samples(rows.bottom, columns), weights),
                    static_cast<int32_t>(rows.fraction));
    }
    Gather::rest(dst + x, task.width - x, rows, position, step);
}

template <class Gather>
void _resample(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    if (resample_plan_fits(task, Gather::kPixelBytes)) {
        resample_by_plan<PlannedRow>(dst, dst_stride, task, Gather::kPixelBytes);
        return;
    }
    for (int32_t y = 0; y < task.rows; ++y)
        _gather_row<Gather>(dst + static_cast<ptrdiff_t>(y) * dst_stride, resample_rows(task, y), task);
}

}  // namespace

void resample_gray(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    _resample<GatherGray>(dst, dst_stride, task);
}

void resample_yuyv(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    _resample<GatherYuyv>(dst, dst_stride, task);
}

}  // namespace ozr::kernels::avx2
