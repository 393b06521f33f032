#include "kernels/match.h"
#include "kernels/x86/match_rows.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

MaskedSums correlate_masked(const MaskedArea& a, const MaskedArea& b, int32_t columns, int32_t rows)
{
    return MatchRows<Sse2>::correlate(a, b, columns, rows, scalar::correlate_masked);
}

int32_t dot_product(const int16_t* a, const int16_t* b, int32_t count)
{
    return MatchRows<Sse2>::dot(a, b, count, scalar::dot_product);
}

}  // namespace ozr::kernels::sse2
