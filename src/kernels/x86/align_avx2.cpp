#include "kernels/x86/correlation.h"
#include "kernels/x86/vectors_avx2.h"
#include "kernels/x86/x86.h"

OzrCorrelation correlate_areas_avx2(const OzrAreaPair& areas, int32_t shift)
{
    if (areas.columns < 2 * Correlation<Avx2>::kStep)
        return correlate_areas_sse2(areas, shift);
    return Correlation<Avx2>::of_areas(areas, shift);
}
