#include "kernels/motion.h"
#include "kernels/x86/sad_areas.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

uint32_t sad_area(FrameArea a, FrameArea b, int32_t columns, int32_t rows)
{
    if (columns < Avx2::kBytes)
        return sse2::sad_area(a, b, columns, rows);
    return _sad_area<Avx2>(a, b, columns, rows);
}

uint32_t sad_const_row(const uint8_t* a, uint8_t value, int32_t count)
{
    return _sad_const_row<Avx2>(a, value, count, sse2::sad_const_row);
}

}  // namespace ozr::kernels::avx2
