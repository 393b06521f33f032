// Bilinear resampling, SSSE3: byte shuffles fetch the samples of four columns at a time.
#include <stddef.h>
#include <tmmintrin.h>

#include "kernels/resample.h"
#include "kernels/x86/resample_plan.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::ssse3
{

namespace
{

constexpr int32_t kLowBits = 9;  // splits the 18 bits of a weighed pair of samples into halves

// The two samples of each column in `row`, times their weights: at most 255 * 1024.
template <bool kTwoLoads>
__m128i _columns(const uint8_t* row, const PlanGroup& group)
{
    __m128i samples = _mm_shuffle_epi8(Sse2::load(row + group.loads[0]), Sse2::load(group.order[0]));
    if (kTwoLoads)
        samples = _mm_or_si128(
            samples, _mm_shuffle_epi8(Sse2::load(row + group.loads[1]), Sse2::load(group.order[1])));
    return _mm_madd_epi16(samples, Sse2::load(group.weights));
}

// floor((upper * above + lower * below) / 2^20), the weights as 16-bit pairs. SSSE3 multiplies
// 16-bit numbers only, and the sums have 18 bits: each is split into two halves.
__m128i _rows(__m128i upper, __m128i lower, __m128i weights)
{
    const __m128i low_half = _mm_set1_epi32((1 << kLowBits) - 1);
    const __m128i high =
        _mm_or_si128(_mm_srli_epi32(upper, kLowBits), _mm_slli_epi32(_mm_srli_epi32(lower, kLowBits), 16));
    const __m128i low =
        _mm_or_si128(_mm_and_si128(upper, low_half), _mm_slli_epi32(_mm_and_si128(lower, low_half), 16));
    const __m128i carried = _mm_srli_epi32(_mm_madd_epi16(low, weights), kLowBits);
    return _mm_srli_epi32(_mm_add_epi32(_mm_madd_epi16(high, weights), carried),
                          2 * kResampleFracBits - kLowBits);
}

struct PlannedRow {
    template <bool kTwoLoads>
    static void resample(uint8_t* dst, const ResampleRows& rows, const ResamplePlan& plan)
    {
        const int32_t fraction = static_cast<int32_t>(rows.fraction);
        const __m128i weights =
            _mm_set1_epi32((fraction << 16) | (static_cast<int32_t>(kResampleOne) - fraction));
        for (int32_t g = 0; g < plan.groups; g += 2) {
            const __m128i low = pixels<kTwoLoads>(rows, plan.group[g], weights);
            const __m128i high = pixels<kTwoLoads>(rows, plan.group[g + 1], weights);
            const __m128i words = _mm_packs_epi32(low, high);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + plan.dst[g]), _mm_packus_epi16(words, words));
        }
    }

    template <bool kTwoLoads>
    static __m128i pixels(const ResampleRows& rows, const PlanGroup& group, __m128i weights)
    {
        return _rows(_columns<kTwoLoads>(rows.top, group), _columns<kTwoLoads>(rows.bottom, group), weights);
    }
};

}  // namespace

void resample_gray(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    if (resample_plan_fits(task, 1))
        resample_by_plan<PlannedRow>(dst, dst_stride, task, 1);
    else
        scalar::resample_gray(dst, dst_stride, task);
}

void resample_yuyv(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    if (resample_plan_fits(task, 2))
        resample_by_plan<PlannedRow>(dst, dst_stride, task, 2);
    else
        scalar::resample_yuyv(dst, dst_stride, task);
}

}  // namespace ozr::kernels::ssse3
