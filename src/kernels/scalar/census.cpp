#include <stddef.h>

#include "kernels/census.h"

namespace ozr::kernels::scalar
{

void census_run(uint16_t* dst, const uint8_t* src, uint32_t width, uint32_t count)
{
    const size_t stride = width;
    for (size_t k = 0; k < count; ++k) {
        uint32_t pixels[9];
        uint32_t sum = 0;
        for (size_t i = 0; i < 9; ++i) {
            pixels[i] = src[k + i / 3 * stride + i % 3];
            sum += pixels[i];
        }
        uint32_t code = 0;
        for (size_t i = 0; i < 9; ++i)
            code |= ((sum - 9 * pixels[i]) >> 31) << i;  // the sign: 9 pixels exceed the sum
        dst[k + stride + 1] = static_cast<uint16_t>(code);
    }
}

bool census_overlaps(const uint16_t* codes, const uint8_t* src, size_t stride, size_t count)
{
    const uintptr_t written = reinterpret_cast<uintptr_t>(codes);
    const uintptr_t read = reinterpret_cast<uintptr_t>(src);
    return written < read + count + 2 * stride + 2 && read < written + count * sizeof(uint16_t);
}

}  // namespace ozr::kernels::scalar
