// What SSSE3 adds to the operations of SSE2. vectors_avx2.h has the same names for AVX2.
#ifndef OZR_VECTORS_SSSE3_H
#define OZR_VECTORS_SSSE3_H

#include <tmmintrin.h>

#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

struct Ssse3 : Sse2 {
    // Sums of the products of neighbouring bytes, those of `a` unsigned, those of `b`
    // signed; limited to 16 bits.
    static Words multiply_add_bytes(Vector a, Words b) { return Words(_mm_maddubs_epi16(a, Vector(b))); }

    // The bytes whose numbers `order` has; 0 where its number is negative.
    static Words shuffled(Vector bytes, Words order) { return Words(_mm_shuffle_epi8(bytes, Vector(order))); }
};

}  // namespace

}  // namespace ozr::kernels

#endif
