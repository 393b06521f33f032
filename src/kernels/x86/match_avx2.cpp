#include "kernels/match.h"
#include "kernels/x86/match_rows.h"
#include "kernels/x86/patch_rows.h"
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

struct PatchAvx2 : Avx2 {
    // Numbers of the blocks, each in all of its half.
    static Ints spread(const int32_t* blocks)
    {
        const Vector both = _mm256_castsi128_si256(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(blocks)));
        return Ints(_mm256_permutevar8x32_epi32(both, _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1)));
    }
    static Ints repeated(const int32_t* ints) { return Ints(load_twice(ints)); }
    static void store_blocks(int16_t* dst, const int32_t* to, Words words)
    {
        const __m128i first = _mm256_castsi256_si128(Vector(words));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + to[0]), first);
        const __m128i second = _mm256_extracti128_si256(Vector(words), 1);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + to[1]), second);
    }
};

void _correlate_half(int32_t* sums, const PairedRows& both, int32_t shifts)
{
    MatchRows<Match<Sse2>>::correlate(sums, both, shifts, scalar::correlate_shifts);
}

}  // namespace

void correlate_shifts(int32_t* sums, const PairedRows& both, int32_t shifts)
{
    MatchRows<Match<Avx2>>::correlate(sums, both, shifts, _correlate_half);
}

int32_t dot_product(const PairedRows& both)
{
    return MatchRows<Match<Avx2>>::dot(both, sse2::dot_product);
}

void sample_patch(int16_t* dst, const PatchPlane& plane, const PatchPlaces& places)
{
    PatchRows<PatchAvx2>::sample(dst, plane, places, scalar::sample_patch);
}

}  // namespace ozr::kernels::avx2
