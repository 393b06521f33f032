#include <stddef.h>

#include "kernels/census.h"

namespace ozr::kernels::scalar
{

void census_run(uint16_t* dst, const uint8_t* src, uint32_t width, uint32_t count)
{
    const size_t pitch = width;
    for (size_t k = 0; k < count; ++k) {
        uint32_t pixels[9];
        uint32_t sum = 0;
        for (size_t i = 0; i < 9; ++i) {
            pixels[i] = src[k + i / 3 * pitch + i % 3];
            sum += pixels[i];
        }
        uint32_t code = 0;
        for (size_t i = 0; i < 9; ++i)
            code |= ((sum - 9 * pixels[i]) >> 31) << i;  // the sign: 9 times the pixel exceeds the sum
        dst[k + pitch + 1] = static_cast<uint16_t>(code);
    }
}

}  // namespace ozr::kernels::scalar
