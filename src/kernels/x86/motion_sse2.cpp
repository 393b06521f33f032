#include "kernels/motion.h"
#include "kernels/x86/sad_areas.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

uint32_t sad_area(FrameArea a, FrameArea b, int32_t columns, int32_t rows)
{
    if (columns < Sse2::kBytes)
        return scalar::sad_area(a, b, columns, rows);
    return _sad_area<Sse2>(a, b, columns, rows);
}

uint32_t sad_const_row(const uint8_t* a, uint8_t value, int32_t count)
{
    return _sad_const_row<Sse2>(a, value, count, scalar::sad_const_row);
}

}  // namespace ozr::kernels::sse2
