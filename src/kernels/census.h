// Texture codes.
#ifndef OZR_KERNELS_CENSUS_H
#define OZR_KERNELS_CENSUS_H

#include <stddef.h>
#include <stdint.h>

namespace ozr::kernels
{

// Texture codes of `count` windows of 3 x 3 pixels in rows `width` bytes apart. Window k
// starts at src[k]; bit 3 r + c of dst[k + width + 1] tells whether 9 times its pixel in row
// r, column c exceeds the sum of the nine. Windows are done in order, one at a time as far as
// anybody can see: `dst` may overlap `src`, and a variant that does several at once leaves
// that case to the scalar one.
using CensusRun = void(uint16_t* dst, const uint8_t* src, uint32_t width, uint32_t count);

struct CensusKernels {
    CensusRun* run;
};

namespace scalar
{
CensusRun census_run;

// Whether the codes of `count` windows to be written, from `codes` on, share memory with the pixels
// to be read.
bool census_overlaps(const uint16_t* codes, const uint8_t* src, size_t stride, size_t count);

constexpr void fill(CensusKernels* table)
{
    table->run = census_run;
}
}  // namespace scalar

namespace sse2
{
CensusRun census_run;

constexpr void fill(CensusKernels* table)
{
    table->run = census_run;
}
}  // namespace sse2

namespace neon
{
CensusRun census_run;

constexpr void fill(CensusKernels* table)
{
    table->run = census_run;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
