// Transitions from one picture to the next.
#ifndef OZR_KERNELS_BLEND_H
#define OZR_KERNELS_BLEND_H

#include <stdint.h>

namespace ozr::kernels
{

// A linear transition in 128ths: with a = first_weight + x * weight_step (at most 128),
//   dst[x] = min(255, (a * later[x] + (128 - a) * dst[x] + 128) >> 7).
// Kept: 128, not 64, is added before the shift, so pixels of a transition are up to one
// level too bright.
using BlendRow = void(uint8_t* dst, const uint8_t* later, int32_t count, int32_t first_weight,
                      int32_t weight_step);

// The same for byte pairs; both bytes of pair p share the weight first_weight + p * weight_step.
using BlendPairsRow = void(uint8_t* dst, const uint8_t* later, int32_t pairs, int32_t first_weight,
                           int32_t weight_step);

struct BlendKernels {
    BlendRow* row;
    BlendPairsRow* pairs_row;
};

namespace scalar
{
BlendRow blend_row;
BlendPairsRow blend_pairs_row;

constexpr void fill(BlendKernels* table)
{
    table->row = blend_row;
    table->pairs_row = blend_pairs_row;
}
}  // namespace scalar

namespace sse2
{
BlendRow blend_row;
BlendPairsRow blend_pairs_row;

constexpr void fill(BlendKernels* table)
{
    table->row = blend_row;
    table->pairs_row = blend_pairs_row;
}
}  // namespace sse2

namespace neon
{
BlendRow blend_row;
BlendPairsRow blend_pairs_row;

constexpr void fill(BlendKernels* table)
{
    table->row = blend_row;
    table->pairs_row = blend_pairs_row;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
