// What the core computes, one value at a time: slow, plain, and without a look at how the library
// does it. Codes are numbers, so that no changed name hides a changed code.
#ifndef REFERENCE_CORE_H
#define REFERENCE_CORE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/panorama_core.h"

namespace ozr_reference
{

// Entries by number, of the signed kind that formulas are full of.
template <class Entry>
struct Table : std::vector<Entry> {
    Table() = default;
    explicit Table(int64_t count) : std::vector<Entry>(static_cast<size_t>(count)) {}
    Entry& operator[](int64_t i) { return this->data()[i]; }
    const Entry& operator[](int64_t i) const { return this->data()[i]; }
};

// A grey or a semi-planar picture: chroma rows follow the rows of luma.
struct Image {
    Image() = default;
    Image(int32_t f, int32_t w, int32_t h, int32_t s)
        : format(f), width(w), height(h), stride(s), bytes(f == kPanoGray ? h * s : h * s * 3 / 2)
    {
    }
    uint8_t at(int32_t x, int32_t y) const { return bytes[y * stride + x]; }
    PanoImg view() const
    {
        const int32_t size = static_cast<int32_t>(bytes.size());
        return {format, width, height, stride, size, 0, const_cast<uint8_t*>(bytes.data())};
    }

    int32_t format = 0, width = 0, height = 0, stride = 0;
    Table<uint8_t> bytes;
};

struct Projection {
    Projection() = default;
    Projection(int32_t picture_width, int32_t picture_height, int32_t source_stride);
    Image of(const Image& source) const;

    int32_t width = 0;  // of whole blocks of 8 pixels
    int32_t height = 0;
    int32_t stride = 0;  // of the source
    // Source position of each pixel, in 1/16 pixel; from them come the tables of the library.
    Table<int32_t> x, y;
    Table<int32_t> block_offsets, chroma_map;
    Table<uint16_t> weights;

private:
    void place_pixels();
    void weigh_block(int32_t block);
};

// sign(r) r^2 of the overlap of two grey pictures when `b` is at the offset `at` of `a`, without
// `margin` columns at both sides of each.
int32_t score(const Image& a, const Image& b, ozr_point at, int32_t margin, int32_t shift);

// The cheapest path from the top to the bottom row, at most one column sideways from row to row. Of
// equally cheap ones that which ends leftmost, and upwards goes straight rather than to the left,
// and left rather than right.
Table<int32_t> cheapest_path(Table<uint32_t> cost, int32_t width, int32_t height);

// What may happen while a picture is added, in the order of the steps: memory is out,
// or a request to cancel comes.
enum Event { kNothing, kNoFrame, kCancelledProjection, kNoPyramid, kCancelledPyramid, kCancelledAlignment };

// What a context should hold: its words in `record`, what is behind its pointers beside it.
struct Core {
    PanoramaCore record = {};
    Projection projection;
    Image pictures[kMaxPictures];
    Table<Image> pyramids[kMaxPictures];

    Core();
    int32_t init(int32_t forward, int32_t width, int32_t height, int32_t stride);
    int32_t add(const PanoImg* img, int32_t index, int32_t x, int32_t y, Event event);
    int32_t compose(int32_t count, Image* out, std::vector<std::string>* lines);

private:
    void make_pyramid(int32_t index);
    void free_pyramid(int32_t index);
    AlignResult search(const Table<Image>& a, const Table<Image>& b, int64_t x, int64_t y) const;
};

}  // namespace ozr_reference

#endif
