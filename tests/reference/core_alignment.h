// Pyramids, the score of two pictures at an offset, and the search for the best one, computed one value at a time.
#ifndef CORE_ALIGNMENT_REFERENCE_H
#define CORE_ALIGNMENT_REFERENCE_H

#include <cstdint>
#include <vector>

#include "reference/core_projection.h"

namespace ozr_reference
{

struct Gray {
    uint8_t at(int32_t x, int32_t y) const { return pixels[static_cast<size_t>(y * width + x)]; }

    int32_t width, height;
    std::vector<uint8_t> pixels;
};

// Level 0 first. Empty when a level would have no pixels.
using Pyramid = std::vector<Gray>;

struct Match {
    int32_t x = 0, y = 0, score = 0;
};

Pyramid make_pyramid(const Geometry& geometry, const Yuv& projected);

// sign(r) r^2 of the pixels that two pictures have in common when `b` lies at (dx, dy) of `a`; `margin` columns are left
// out at both sides of each.
int32_t score(const Gray& a, const Gray& b, int32_t dx, int32_t dy, int32_t margin, int32_t shift);

// Where `b` fits `a` best around the position (x, y), which is counted in full-size pixels.
Match search(const Geometry& geometry, const Pyramid& a, const Pyramid& b, int64_t x, int64_t y);

}  // namespace ozr_reference

#endif
