// The canvas of a composition: the pictures that it takes, where they lie, and the
// seams between them.
//
// Positions are canvas pixels: picture i lies at the sum of the alignment results up to i, and the
// output shows the band of rows that all pictures have in common.
#ifndef PANORAMA_CANVAS_H
#define PANORAMA_CANVAS_H

#include "core/panorama_core.h"
#include "core/panorama_seam.h"
#include "support/buffer.h"

namespace ozr::core
{

// The seam between picture i - 1 and picture i of the canvas.
struct Seam {
    SeamRegion a;  // in the earlier picture
    SeamRegion b;  // in the later one; its left edge is the picture's
    Buffer<int32_t> columns;
};

// The pictures from left to right, and where they lie.
struct Canvas {
    int32_t count;
    int32_t indices[kMaxPictures];  // of the pictures, in the order of the sweep
    PanoImg* pictures[kMaxPictures];
    AlignItem* items[kMaxPictures];
    AlignResult results[kMaxPictures];
    Seam seams[kMaxPictures];  // from 1 on
    int64_t shift_sum;         // of x
    int64_t score_sum;
    int64_t highest;  // running sum of y: its minimum, at most 0
    int64_t lowest;   // and its maximum, at least 0
};

// Finds the seam of every overlap, keeping off its edges by `margin` columns, and releases what the
// alignment kept of the pictures. -4: two neighbours overlap outside their pictures; -8: memory is
// out; or as panorama_seam_find.
PanoResult find_seams(Canvas* canvas, int32_t margin);

// Writes all pixels of `out`: the pictures, each from its seam onward, and 0 where there is none.
// `margin` decides on the transitions.
void write_canvas(const Canvas& canvas, int32_t margin, PanoImg* out);

}  // namespace ozr::core

#endif
