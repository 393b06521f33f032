// Pictures, the geometry of a sweep and the projection onto the cylinder, computed one value at a time.
#ifndef CORE_PROJECTION_REFERENCE_H
#define CORE_PROJECTION_REFERENCE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ozr_reference
{

// A semi-planar picture; `bytes` ends after half as many chroma rows as there are rows.
struct Yuv {
    Yuv() = default;
    Yuv(int32_t w, int32_t h, int32_t s)
        : width(w), height(h), stride(s), bytes(static_cast<size_t>(h * s * 3 / 2))
    {
    }
    uint8_t& at(int32_t x, int32_t y) { return bytes[static_cast<size_t>(y * stride + x)]; }
    uint8_t at(int32_t x, int32_t y) const { return bytes[static_cast<size_t>(y * stride + x)]; }
    uint8_t& chroma(int32_t byte, int32_t row) { return at(byte, height + row); }
    uint8_t chroma(int32_t byte, int32_t row) const { return at(byte, height + row); }

    int32_t width = 0, height = 0, stride = 0;
    std::vector<uint8_t> bytes;
};

// What the core derives from its arguments, under the same names.
struct Geometry {
    Geometry(int32_t overlap, int32_t forward, int32_t width, int32_t height, int32_t stride);

    bool forward;
    int32_t width, height, stride, margin;
    int32_t levels = 0, half = 0, pyramid_levels = 1, work_width, work_height, ncc_shift = 0;
    int32_t search_x_min, search_x_max, search_y_min, search_y_max;
};

// Source position of every projected pixel, in 1/16 pixel, and the tables that follow from them.
struct Projection {
    explicit Projection(const Geometry& geometry);
    Yuv of(const Yuv& source) const;

    int32_t width, height, stride;  // width of the result, in whole blocks of 8 pixels; stride of the source
    std::vector<int32_t> x, y;
    std::vector<int32_t> block_offsets, chroma_map;
    std::vector<uint16_t> weights;

private:
    void place_pixels();
    void place_chroma(int32_t x_from_centre, int32_t y_from_centre, int32_t u, int32_t v);
    void weigh_block(int32_t block);
};

}  // namespace ozr_reference

#endif
