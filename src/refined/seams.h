// Which picture shows what: one seam between each two neighbours, where they agree.
#ifndef REFINED_SEAMS_H
#define REFINED_SEAMS_H

#include "refined/layers.h"
#include "support/buffer.h"

namespace ozr::refined
{

// Picture i of the layers owns the columns from seam i - 1 to before seam i; the first picture
// begins, and the last one ends, with the lattice.
struct Seams {
    Buffer<int32_t> columns;  // `rows` for each seam: lattice columns
    int32_t rows;
    int32_t count;  // pictures

    int32_t begin(int32_t picture, int32_t row) const { return picture == 0 ? 0 : at(picture - 1)[row]; }
    int32_t end(int32_t picture, int32_t row, int32_t columns_of_all) const
    {
        return picture == count - 1 ? columns_of_all : at(picture)[row];
    }
    const int32_t* at(int32_t seam) const { return columns.get() + int64_t{seam} * rows; }
};

// Pixels of the panorama over which one picture goes over into the next, the seam in their middle.
int32_t feather_width(const Frame& frame);

// Points of the lattice that a feather reaches to either side of its seam.
int32_t feather_reach(const Frame& frame);

PanoResult find_seams(const Cancel& cancel, const Layers& layers, Seams* seams);

}  // namespace ozr::refined

#endif
