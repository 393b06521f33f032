#include "kernels/match.h"
#include "kernels/x86/match_rows.h"
#include "kernels/x86/vectors_avx2.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::avx2
{

namespace
{

// One of eight words in all lanes, straight from memory: of a whole vector, and of half of one.
template <class V>
struct Match : V {
    using Eight = const int16_t*;
    static Eight eight(const int16_t* words) { return words; }
    template <int32_t kIndex>
    static typename V::Words one(Eight words)
    {
        return V::all_words(words[kIndex]);
    }
};

void _correlate_half(int32_t* sums, const ShiftedRows& both, int32_t shifts)
{
    MatchRows<Match<Sse2>>::correlate(sums, both, shifts, nullptr);
}

}  // namespace

void correlate_shifts(int32_t* sums, const ShiftedRows& both, int32_t shifts)
{
    MatchRows<Match<Avx2>>::correlate(sums, both, shifts, _correlate_half);
}

int32_t dot_product(const int16_t* a, const int16_t* b, int32_t count)
{
    return MatchRows<Match<Avx2>>::dot(a, b, count, sse2::dot_product);
}

}  // namespace ozr::kernels::avx2
