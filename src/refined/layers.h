// Small copies of the pictures, laid where they belong: what brightness, seams, cropping and slow
// transitions are found on.
//
// The lattice has a point every 2^step_bits pixels of the panorama, at multiples of that from
// heading 0 and height 0; it carries luma at every point, and chroma pairs at every second one of
// every second row.
#ifndef REFINED_LAYERS_H
#define REFINED_LAYERS_H

#include <stdint.h>

#include "refined/draw.h"
#include "refined/nodes.h"
#include "refined/view.h"
#include "support/buffer.h"

namespace ozr::refined
{

struct Frame {
    double radius;         // of the cylinder, in pixels
    int32_t step_bits;     // pixels from one point of the lattice to the next: 2^step_bits
    int32_t first_column;  // the lattice's first point, in steps from heading 0 ...
    int32_t first_row;     // ... and height 0
    int32_t columns;       // a multiple of 8
    int32_t rows;          // even
};

struct Layer {
    const DrawPicture* source;
    int32_t index;  // of the picture in the order of capture
    View view;
    double heading;                               // radians; counted on beyond a full turn
    kernels::DrawPlane small_luma, small_chroma;  // of the picture, reduced by the frame's step
    int32_t first, columns;                       // of the lattice, in multiples of 8
    int32_t middle;                               // column nearest to the picture's middle
    Buffer<uint8_t> luma, chroma;                 // rows of `columns` bytes
    Buffer<uint8_t> shown;                        // 255 where the picture shows a point, else 0

    const uint8_t* luma_row(int32_t y) const { return luma.get() + int64_t{y} * columns; }
    const uint8_t* chroma_row(int32_t y) const { return chroma.get() + int64_t{y} * columns; }
    const uint8_t* shown_row(int32_t y) const { return shown.get() + int64_t{y} * columns; }
    bool shows(int32_t column, int32_t row) const
    {
        return column >= first && column < first + columns && shown_row(row)[column - first] != 0;
    }
};

struct Layers {
    Frame frame;
    Layer at[kMaxPictures];  // in order along the sweep
    int32_t count;
};

// Orders the pictures and chooses the frame.
PanoResult arrange_layers(const DrawInput& input, Layers* layers);

// Lays luma and chroma, with the views' gains, and finds what is shown.
PanoResult lay_layers(const Cancel& cancel, Layers* layers);

}  // namespace ozr::refined

#endif
