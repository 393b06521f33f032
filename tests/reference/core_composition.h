// Seams, transitions and the whole panorama, computed one value at a time.
#ifndef CORE_COMPOSITION_REFERENCE_H
#define CORE_COMPOSITION_REFERENCE_H

#include <cstdint>
#include <string>
#include <vector>

#include "reference/core_alignment.h"

namespace ozr_reference
{

using Columns = std::vector<int32_t>;

// The cheapest path from the top to the bottom of width x height costs, at most one column sideways from row to row. Of
// equally cheap ones that which ends leftmost, and upwards goes straight rather than to the left, and left rather than right.
Columns cheapest_path(const std::vector<uint32_t>& cost, int32_t width, int32_t height);

struct Composition {
    int32_t code = 0;
    int32_t used = 0;  // pictures
    int32_t mean_score = 0;
    Yuv out;  // empty unless the code is 0
    std::vector<std::string> log;
};

// Of the first `count` projected pictures of a sweep and the results of their alignment, in the order they were taken.
Composition compose(const Geometry& geometry, std::vector<Yuv> pictures, std::vector<Match> results);

}  // namespace ozr_reference

#endif
