// Projection of pictures onto the cylinder. Luma is interpolated from the 2 x 2 pixels around a
// source position, chroma taken from the nearest pair.
//
// A row of the projection is a curve through the source, which the processor's own prefetching does
// not follow. And a camera has written the source just now: without asking for it ahead, waiting
// for memory is half of the time.
#include <algorithm>

#include "base/prefetch.h"
#include "core/panorama_core.h"
#include "core/projection.h"
#include "kernels/kernels.h"
#include "kernels/projection_block.h"

using namespace ozr;
using namespace ozr::core;
using kernels::kBlock;
using kernels::kBlockPairs;

namespace
{

constexpr int32_t kRowsAhead = 6;    // of the source, from the first that a row reads
constexpr int32_t kBlocksApart = 4;  // half a cache line, lest a curve miss one

OZR_PREFETCHING void _ask_for_luma(const PanoImg* src, const int32_t* offsets, int32_t blocks, int32_t ahead)
{
    for (int32_t b = 0; b < blocks; b += kBlocksApart)
        prefetch(src->data, static_cast<uintptr_t>(offsets[b]) + rows_on(ahead, src->stride));
}

OZR_PREFETCHING void _ask_for_chroma(const PanoImg* src, const kernels::ProjectionChromaRow& row,
                                     int32_t blocks, int32_t ahead)
{
    for (int32_t b = 0; b < blocks; b += kBlocksApart) {
        const int32_t place = row.offsets[b] >= 0 ? row.offsets[b] : 2 * row.map[ptrdiff_t{kBlockPairs} * b];
        prefetch(pano_chroma_row(src, 0), static_cast<uintptr_t>(place) + rows_on(ahead, src->stride));
    }
}

// One picture's way through the projection.
struct Projector {
    const PanoramaCore* pi;
    const kernels::Kernels* kernels;
    PanoImg* dst;
    const PanoImg* src;
    // Behind the luma plane the chroma plane may be read: its bytes count for nothing.
    int64_t readable;

    // Kept: where panorama_core_init has made tables, their places are what counts, whatever the
    // caller made of them. `ahead` leads to the source rows that come next.
    void luma_row(int32_t y, const ProjectedRow& row, int32_t ahead) const
    {
        const int32_t blocks = dst->width / kBlock;
        const int32_t* table = pi->proj.block_offsets;
        const int32_t* offsets =
            table != nullptr ? table + static_cast<ptrdiff_t>(y) * blocks : row.offsets.get();
        _ask_for_luma(src, offsets, blocks, ahead);
        kernels->project.luma_row(pano_row(dst, y), {src->data, readable, src->stride},
                                  {offsets, pi->projection->columns.get(), row.rows.get()}, blocks);
    }

    void chroma_row(int32_t y, const ProjectedRow& row, int32_t ahead) const
    {
        const int32_t blocks = dst->width / kBlock;
        const int32_t* map = row.chroma_map.get();
        if (pi->proj.chroma_map != nullptr) {
            map = pi->proj.chroma_map + static_cast<ptrdiff_t>(y) * blocks * kBlockPairs;
            std::fill_n(row.chroma_offsets.get(), blocks, -1);
        }
        const kernels::ProjectionChromaRow from = {row.chroma_offsets.get(), pi->projection->pair_order.get(),
                                                   map};
        _ask_for_chroma(src, from, blocks, ahead);
        const int64_t readable_chroma = readable - int64_t{src->height} * src->stride;
        kernels->project.chroma_row(pano_chroma_row(dst, y), pano_chroma_row(src, 0), readable_chroma, from,
                                    blocks);
    }

    // All positions of an odd last row are the source's first pixel, which the patches of the first
    // pixels of a block do not reach.
    void odd_last_row(int32_t y) const
    {
        uint8_t* row = pano_row(dst, y);
        for (int32_t x = 0; x < dst->width; ++x)
            row[x] = x % kBlock < kBlock / 2 ? 0 : src->data[0];
    }
};

}  // namespace

void ozr::core::project(const PanoramaCore* pi, PanoImg* dst, const PanoImg* src)
{
    const Projector to = {pi, kernels::active(), dst, src, pano_geometry_size(src)};
    for (ProjectionWalk walk(pi); walk.next();) {
        to.luma_row(walk.y_below(), walk.below(), kRowsAhead);
        to.luma_row(walk.y_above(), walk.above(), -kRowsAhead);
        if (!walk.has_chroma())
            continue;
        to.chroma_row(walk.y_below() / 2, walk.below(), kRowsAhead);
        to.chroma_row(walk.y_above() / 2, walk.above(), -kRowsAhead);
    }
    if (dst->height % 2 != 0)
        to.odd_last_row(dst->height - 1);
}
