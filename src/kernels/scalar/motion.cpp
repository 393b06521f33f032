#include <stddef.h>
#include <stdlib.h>

#include "kernels/motion.h"

namespace ozr::kernels::scalar
{

uint32_t sad_area(FrameArea a, FrameArea b, int32_t columns, int32_t rows)
{
    uint32_t sum = 0;
    for (int32_t y = 0; y < rows; ++y) {
        const uint8_t* row_a = a.data + static_cast<ptrdiff_t>(y * a.stride);
        const uint8_t* row_b = b.data + static_cast<ptrdiff_t>(y * b.stride);
        for (int32_t x = 0; x < columns; ++x)
            sum += static_cast<uint32_t>(abs(row_a[x] - row_b[x]));
    }
    return sum;
}

uint32_t sad_const_row(const uint8_t* a, uint8_t value, int32_t count)
{
    uint32_t sum = 0;
    for (int32_t x = 0; x < count; ++x)
        sum += static_cast<uint32_t>(abs(a[x] - value));
    return sum;
}

}  // namespace ozr::kernels::scalar
