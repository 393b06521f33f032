// Sums of absolute differences in vectors of any width, `V` being Sse2 or Avx2.
#ifndef OZR_SAD_AREAS_H
#define OZR_SAD_AREAS_H

#include <stddef.h>

#include "kernels/last_lanes.h"
#include "kernels/motion.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

// Areas at least as wide as a vector.
template <class V>
uint32_t _sad_area(FrameArea a, FrameArea b, int32_t columns, int32_t rows)
{
    const int32_t last = columns - V::kBytes;
    const auto fresh = V::load(last_lanes(V::kBytes, columns % V::kBytes));
    typename V::Sums64 sums = {};
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x <= last; x += V::kBytes)
            sums += V::sad(V::load(a.data + x), V::load(b.data + x));
        sums += V::sad(V::load(a.data + last) & fresh, V::load(b.data + last) & fresh);
        a.data += static_cast<ptrdiff_t>(a.stride);
        b.data += static_cast<ptrdiff_t>(b.stride);
    }
    return V::total(sums);
}

template <class V>
uint32_t _sad_const_row(const uint8_t* a, uint8_t value, int32_t count, SadConstRow* rest)
{
    const auto values = V::all_bytes(value);
    typename V::Sums64 sums = {};
    int32_t x = 0;
    for (; x <= count - V::kBytes; x += V::kBytes)
        sums += V::sad(V::load(a + x), values);
    return V::total(sums) + rest(a + x, value, count - x);
}

}  // namespace

}  // namespace ozr::kernels

#endif
