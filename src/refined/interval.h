// Runs of columns, of rows, of nodes: from the first one to before the end.
#ifndef REFINED_INTERVAL_H
#define REFINED_INTERVAL_H

#include <stdint.h>

#include <algorithm>

namespace ozr::refined
{

struct Interval {
    int32_t first;
    int32_t end;

    int32_t length() const { return end - first; }
    bool is_empty() const { return first >= end; }
};

// What two have in common; its length may be negative.
inline Interval common_part(const Interval& a, const Interval& b)
{
    return {std::max(a.first, b.first), std::min(a.end, b.end)};
}

}  // namespace ozr::refined

#endif
