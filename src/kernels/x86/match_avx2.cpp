#include "kernels/match.h"
#include "kernels/x86/match_rows.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

MaskedSums correlate_masked(const MaskedArea& a, const MaskedArea& b, int32_t columns, int32_t rows)
{
    return MatchRows<Avx2>::correlate(a, b, columns, rows, sse2::correlate_masked);
}

int32_t dot_product(const int16_t* a, const int16_t* b, int32_t count)
{
    return MatchRows<Avx2>::dot(a, b, count, sse2::dot_product);
}

}  // namespace ozr::kernels::avx2
