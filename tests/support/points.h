// Points and rectangles that GoogleTest compares and prints.
#ifndef POINTS_H
#define POINTS_H

#include <ostream>

#include "ozr_geometry.h"

inline bool operator==(const ozr_point& a, const ozr_point& b)
{
    return a.x == b.x && a.y == b.y;
}

inline bool operator==(const ozr_rect& a, const ozr_rect& b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

inline void PrintTo(const ozr_point& point, std::ostream* out)
{
    *out << '(' << point.x << ", " << point.y << ')';
}

inline void PrintTo(const ozr_rect& r, std::ostream* out)
{
    *out << '(' << r.left << ", " << r.top << ")-(" << r.right << ", " << r.bottom << ')';
}

#endif
