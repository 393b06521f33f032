#include <algorithm>

#include "kernels/blend.h"

namespace ozr::kernels::scalar
{

namespace
{

constexpr int32_t kWeightBits = 7;
constexpr int32_t kWeightOne = 1 << kWeightBits;

uint8_t _blend(uint8_t earlier, uint8_t later, int32_t weight)
{
    const int32_t sum = weight * later + (kWeightOne - weight) * earlier + kWeightOne;
    return static_cast<uint8_t>(std::min(255, sum >> kWeightBits));
}

}  // namespace

void blend_row(uint8_t* dst, const uint8_t* later, int32_t count, int32_t first_weight, int32_t weight_step)
{
    for (int32_t x = 0; x < count; ++x)
        dst[x] = _blend(dst[x], later[x], first_weight + x * weight_step);
}

void blend_pairs_row(uint8_t* dst, const uint8_t* later, int32_t pairs, int32_t first_weight,
                     int32_t weight_step)
{
    for (int32_t x = 0; x < 2 * pairs; ++x)
        dst[x] = _blend(dst[x], later[x], first_weight + (x >> 1) * weight_step);
}

}  // namespace ozr::kernels::scalar
