// Numbers on a lattice, and the steps between the levels of a pyramid of them (Burt and Adelson).
#ifndef REFINED_GRID_H
#define REFINED_GRID_H

#include <stdint.h>

#include "refined/interval.h"
#include "support/buffer.h"

namespace ozr::refined
{

// A coarser level has every second point each way, from the same first one.
struct Grid {
    Buffer<int16_t> at;
    int32_t width, height;
    int16_t* row(int32_t y) const { return at.get() + int64_t{y} * width; }
};

// The nearest number from 0 to `most`.
inline int32_t limited(int32_t value, int32_t most)
{
    const int32_t positive = value > 0 ? value : 0;
    return positive < most ? positive : most;
}

// Not filled. False: memory is out.
[[nodiscard]] bool make_grid(int32_t width, int32_t height, Grid* grid);

// Every second point of every second row, from five each way: 1 4 6 4 1. `line` has room for a row
// of the source.
void reduce(const Grid& src, const Grid& dst, int32_t* line);

// A stretch of a row of the finer lattice from the coarser one, in 64ths: between two points 4 4,
// on a point 1 6 1. `line` has room for a row of the coarser one and two points more.
void expand_row(const Grid& coarse, int32_t y, const Interval& stretch, int32_t* line, int32_t* out);

}  // namespace ozr::refined

#endif
