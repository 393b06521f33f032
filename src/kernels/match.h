// Sums of products that the refined quality compares pictures by.
#ifndef OZR_KERNELS_MATCH_H
#define OZR_KERNELS_MATCH_H

#include <stdint.h>

namespace ozr::kernels
{

// A part of an unrolled picture: its contrast, 0 where the mask is, and where it shows the picture
// (-1, else 0).
struct MaskedArea {
    const int16_t* contrast;
    const int16_t* mask;
    int64_t stride;  // elements
};

struct MaskedSums {
    int32_t aa;  // over what the other picture shows too
    int32_t bb;
    int32_t ab;
};

// The sums over an area of both. The caller sees to it that they fit 32 bits: 596 000 pixels of at
// most 60 do.
using CorrelateMasked = MaskedSums(const MaskedArea& a, const MaskedArea& b, int32_t columns, int32_t rows);

// The sum of a[i] * b[i], i < count; the caller sees to it that it fits 32 bits in any order. Two
// products of -32768 next to each other do not.
using DotProduct = int32_t(const int16_t* a, const int16_t* b, int32_t count);

struct MatchKernels {
    CorrelateMasked* correlate_masked;
    DotProduct* dot_product;
};

namespace scalar
{
CorrelateMasked correlate_masked;
DotProduct dot_product;

constexpr void fill(MatchKernels* table)
{
    table->correlate_masked = correlate_masked;
    table->dot_product = dot_product;
}
}  // namespace scalar

namespace sse2
{
CorrelateMasked correlate_masked;
DotProduct dot_product;

constexpr void fill(MatchKernels* table)
{
    table->correlate_masked = correlate_masked;
    table->dot_product = dot_product;
}
}  // namespace sse2

namespace avx2
{
CorrelateMasked correlate_masked;
DotProduct dot_product;

constexpr void fill(MatchKernels* table)
{
    table->correlate_masked = correlate_masked;
    table->dot_product = dot_product;
}
}  // namespace avx2

namespace neon
{
CorrelateMasked correlate_masked;
DotProduct dot_product;

constexpr void fill(MatchKernels* table)
{
    table->correlate_masked = correlate_masked;
    table->dot_product = dot_product;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
