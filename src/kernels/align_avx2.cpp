#include "correlation.h"
#include "kernels_x86.h"
#include "vectors_avx2.h"

OzrCorrelation correlate_areas_avx2(const OzrAreaPair& areas, int32_t shift)
{
    if (areas.columns < 2 * Correlation<Avx2>::kStep)
        return correlate_areas_sse2(areas, shift);
    return Correlation<Avx2>::of_areas(areas, shift);
}
