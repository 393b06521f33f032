#include "kernels/match.h"
#include "kernels/x86/match_rows.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

struct MatchSse2 : Sse2 {
    // Eight words, each twice, and one of them in all lanes.
    using Eight = TwoWords;
    static Eight eight(const int16_t* words)
    {
        const Words all = Words(load(words));
        return {Words(weave_low_words(all, all)), Words(weave_high_words(all, all))};
    }
    template <int32_t kIndex>
    static Words one(const Eight& words)
    {
        const Vector half = Vector(kIndex < 4 ? words.first : words.second);
        constexpr int32_t kLane = kIndex % 4;
        return Words(_mm_shuffle_epi32(half, _MM_SHUFFLE(kLane, kLane, kLane, kLane)));
    }
};

}  // namespace

void correlate_shifts(int32_t* sums, const PairedRows& both, int32_t shifts)
{
    MatchRows<MatchSse2>::correlate(sums, both, shifts, scalar::correlate_shifts);
}

int32_t dot_product(const PairedRows& both)
{
    return MatchRows<MatchSse2>::dot(both, scalar::dot_product);
}

}  // namespace ozr::kernels::sse2
