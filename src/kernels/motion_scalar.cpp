#include <stdlib.h>

#include "kernels_scalar.h"

uint32_t sad_row_scalar(const uint8_t* a, const uint8_t* b, int32_t count)
{
    uint32_t sum = 0;
    for (int32_t x = 0; x < count; ++x)
        sum += static_cast<uint32_t>(abs(a[x] - b[x]));
    return sum;
}

uint32_t sad_const_row_scalar(const uint8_t* a, uint8_t value, int32_t count)
{
    uint32_t sum = 0;
    for (int32_t x = 0; x < count; ++x)
        sum += static_cast<uint32_t>(abs(a[x] - value));
    return sum;
}
