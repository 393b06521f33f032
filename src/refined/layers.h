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
    int32_t columns;       // whole blocks
    int32_t rows;          // even

    // Of the lattice's points: radians, and radii below height 0.
    double heading_of(int32_t column) const { return (first_column + column) * (1 << step_bits) / radius; }
    double height_of(int32_t row) const { return (first_row + row) * (1 << step_bits) / radius; }
};

// Columns of the lattice that are laid, and compared, at once.
constexpr int32_t kLayerBlock = kernels::kDrawBlock;

// Pixels at a picture's edge that are not drawn: the cubic reaches two further.
constexpr int32_t kShownMargin = 2;

struct Layer {
    const DrawPicture* source;
    int32_t index;  // of the picture in the order of capture
    View view;
    double heading;                               // radians; counted on beyond a full turn
    kernels::DrawPlane small_luma, small_chroma;  // of the picture, reduced by the frame's step
    int32_t first, columns;                       // of the lattice, in whole blocks
    int32_t middle;                               // column nearest to the picture's middle
    Buffer<uint8_t> luma, chroma;                 // rows of `columns` bytes
    Buffer<uint8_t> shown;                        // 255 where the picture shows a point, else 0

    int32_t end() const { return first + columns; }
    const uint8_t* luma_row(int32_t y) const { return luma.get() + int64_t{y} * columns; }
    const uint8_t* chroma_row(int32_t y) const { return chroma.get() + int64_t{y} * columns; }
    const uint8_t* shown_row(int32_t y) const { return shown.get() + int64_t{y} * columns; }
    bool shows(int32_t column, int32_t row) const
    {
        return column >= first && column < end() && shown_row(row)[column - first] != 0;
    }
};

struct Layers {
    Frame frame;
    Layer at[kMaxPictures];  // in order along the sweep
    int32_t count;
};

// Orders the pictures that are used and chooses the frame. kPanoBadArgument: see draw;
// kPanoNoMemory.
PanoResult arrange_layers(const DrawInput& input, Layers* layers);

// The headings of the first columns of all blocks, and of the one behind the last block; null when
// memory is out.
Buffer<Heading> make_block_headings(const Frame& frame);

// Lays luma and chroma, with the views' gains, and finds what is shown. kPanoCancelled,
// kPanoNoMemory.
PanoResult lay_layers(const Cancel& cancel, Layers* layers);

}  // namespace ozr::refined

#endif
