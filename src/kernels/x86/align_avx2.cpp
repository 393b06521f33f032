#include "kernels/align.h"
#include "kernels/x86/correlation.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

CorrelationSums correlate_areas(const AreaPair& areas, int32_t shift)
{
    if (areas.columns < 2 * Correlation<Avx2>::kStep)
        return sse2::correlate_areas(areas, shift);
    return Correlation<Avx2>::of_areas(areas, shift);
}

}  // namespace ozr::kernels::avx2
