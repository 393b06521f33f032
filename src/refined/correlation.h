// Sums of products that matching is made of.
#ifndef REFINED_CORRELATION_H
#define REFINED_CORRELATION_H

#include <stddef.h>
#include <stdint.h>

namespace ozr::refined
{

// A part of an unrolled picture: its contrast (at most 60 either way) and where it shows the picture (-1, else 0).
struct MaskedArea {
    const int16_t* contrast;
    const int16_t* mask;
    ptrdiff_t stride;  // elements
};

struct MaskedSums {
    int32_t aa;  // over what the other picture shows too
    int32_t bb;
    int32_t ab;
};

// The sums over an area of both. 32 bits hold those of 596 000 pixels (60^2 each). Contrast is 0 where the mask is.
MaskedSums correlate_masked(const MaskedArea& a, const MaskedArea& b, int32_t columns, int32_t rows);

// The sum of a[i] * b[i]; the caller sees to it that it fits 32 bits.
int32_t dot_product(const int16_t* a, const int16_t* b, int32_t count);

}  // namespace ozr::refined

#endif
