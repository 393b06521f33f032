// What the core computes, one value at a time: slow, plain, and without a look at how the library does it. Scaling alone is the
// library's, as it is tested for itself. Codes are numbers here, so that a changed name cannot hide a changed code.
#ifndef REFERENCE_CORE_H
#define REFERENCE_CORE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/panorama_core.h"

namespace ozr_reference
{

// A grey or a semi-planar picture: chroma rows follow the rows of luma.
struct Image {
    Image() = default;
    Image(int32_t f, int32_t w, int32_t h, int32_t s)
        : format(f), width(w), height(h), stride(s),
          bytes(static_cast<size_t>(f == kPanoGray ? h * s : h * s * 3 / 2))
    {
    }
    uint8_t& at(int32_t x, int32_t y) { return bytes[static_cast<size_t>(y * stride + x)]; }
    uint8_t at(int32_t x, int32_t y) const { return bytes[static_cast<size_t>(y * stride + x)]; }
    PanoImg view() const
    {
        return {format,
                width,
                height,
                stride,
                static_cast<int32_t>(bytes.size()),
                0,
                const_cast<uint8_t*>(bytes.data())};
    }

    int32_t format = 0, width = 0, height = 0, stride = 0;
    std::vector<uint8_t> bytes;
};

// Source positions of all projected pixels in 1/16 pixel, and the tables that follow from them.
struct Projection {
    Projection() = default;
    Projection(int32_t picture_width, int32_t picture_height, int32_t source_stride);
    Image of(const Image& source) const;

    int32_t width = 0, height = 0, stride = 0;  // width: of whole blocks of 8 pixels; stride: of the source
    std::vector<int32_t> x, y, block_offsets, chroma_map;
    std::vector<uint16_t> weights;

private:
    void place_pixels();
    void place_chroma(int32_t x_from_centre, int32_t y_from_centre, int32_t u, int32_t v);
    void weigh_block(int32_t block);
};

// sign(r) r^2 of the pixels that two grey pictures have in common when `b` lies at (dx, dy) of `a`, but for `margin` columns at
// both sides of each.
int32_t score(const Image& a, const Image& b, int32_t dx, int32_t dy, int32_t margin, int32_t shift);

using Columns = std::vector<int32_t>;

// The cheapest path from the top to the bottom row, at most one column sideways from row to row. Of equally cheap ones that which
// ends leftmost, and upwards goes straight rather than to the left, and left rather than right.
Columns cheapest_path(std::vector<uint32_t> cost, int32_t width, int32_t height);

// What a context should hold: its words in `record`, what is behind its pointers beside it.
struct Core {
    PanoramaCore record = {};
    Projection projection;
    Image pictures[kMaxPictures];
    std::vector<Image> pyramids[kMaxPictures];

    Core();
    int32_t init(int32_t forward, int32_t width, int32_t height, int32_t stride);
    int32_t add(const PanoImg* img, int32_t index, int32_t x, int32_t y);
    int32_t compose(int32_t count, Image* out, std::vector<std::string>* log);

private:
    bool make_pyramid(int32_t index);
    void free_pyramid(int32_t index);
    AlignResult search(const std::vector<Image>& a, const std::vector<Image>& b, int64_t x, int64_t y) const;
};

}  // namespace ozr_reference

#endif
