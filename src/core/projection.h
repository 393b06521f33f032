// The projection of a picture size onto the cylinder. A source position has 4 fractional bits.
// Everything is symmetric about the picture's centre, so all positions follow from the offsets
// (x, y) of one quadrant:
//   u(x) = x F / C(x),  v(x, y) = y F / C(x)  with  C(x) ~ sqrt(R^2 - x^2),
// a tangent-like stretch that grows towards the left and right edges. u is the same in every row,
// and v grows row by row by a quotient and a remainder: rows are worked out when a picture comes to
// them, and only what they have in common is kept.
#ifndef PANORAMA_PROJECTION_H
#define PANORAMA_PROJECTION_H

#include <new>

#include <stddef.h>
#include <stdint.h>

#include "core/panorama_core.h"
#include "kernels/kernels.h"
#include "support/buffer.h"

namespace ozr::core
{

// Room for a row of luma, and one of chroma.
struct ProjectedRow {
    Buffer<int32_t> offsets;  // these two as kernels::ProjectionRow has them
    Buffer<uint8_t> rows;
    Buffer<int32_t> chroma_offsets;  // and these two as kernels::ProjectionChromaRow
    Buffer<int32_t> chroma_map;

    bool allocate(int32_t width);
};

// What the rows of a projection have in common.
class Projection
{
public:
    // Of pictures that are `width` pixels wide, projected. Null when memory is out.
    static Projection* create(int32_t width);

    ~Projection() = default;
    Projection(const Projection&) = delete;
    Projection& operator=(const Projection&) = delete;
    static void operator delete(void* projection) noexcept;

    const int32_t blocks;                      // of a row
    const int32_t half_blocks;                 // right of the centre; a block on the centre counts
    Buffer<uint8_t> columns;                   // 32 weights a block, as in kernels::ProjectionRow
    Buffer<int32_t> bases;                     // a block: its first source column
    Buffer<int32_t> pair_bases;                // a block: its first source pair
    Buffer<uint8_t> pair_order;                // 8 bytes a block: ProjectionChromaRow has them
    Buffer<kernels::ProjectionCurves> curves;  // of half_blocks
    ProjectedRow below;                        // the rows at hand
    ProjectedRow above;

private:
    explicit Projection(int32_t width);
    bool allocate();
    bool fill();
    static void* operator new(size_t size, const std::nothrow_t& tag) noexcept;
    static void operator delete(void* projection, const std::nothrow_t& tag) noexcept;
};

// Takes the rows of a core's projection two by two, from the centre outwards.
class ProjectionWalk
{
public:
    explicit ProjectionWalk(const PanoramaCore* pi);

    // Goes to the next two rows; false when there are none. An odd last row is none of them.
    bool next();

    // The output rows.
    int32_t y_below() const { return half_height_ + y_; }
    int32_t y_above() const { return half_height_ - 1 - y_; }

    // What they are made from. Every second time they bring a row of chroma each, of half
    // their number. With an odd half height the first two bring the same one, and the upper
    // one is what counts.
    const ProjectedRow& below() const { return projection_->below; }
    const ProjectedRow& above() const { return projection_->above; }
    bool has_chroma() const { return y_ % 2 == 0; }

private:
    // The source row of chroma for a v, and its first pair. Nothing is negative.
    int32_t line_of(int32_t v) const { return (half_height_ + (v >> kernels::kFracBits)) >> 1; }
    int32_t pair_of(int32_t line) const { return (line * stride_) >> 1; }
    void place_chroma() const;
    void place_blocks(const ProjectedRow& row, int32_t left, int32_t right, int32_t line) const;
    void place_pairs(int32_t left, int32_t right, const kernels::ProjectionCurves& curves) const;
    void place_pair(int32_t pair, int32_t line) const;

    const kernels::Kernels* kernels_;
    const Projection* projection_;
    int32_t stride_;
    int32_t half_height_;
    int32_t y_ = -1;
};

}  // namespace ozr::core

#endif
