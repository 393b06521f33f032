// Projection of pictures onto the cylinder, by the tables that panorama_core_projection_tables.cpp makes. Luma is
// interpolated from the 2 x 2 pixels around a source position, chroma taken from the nearest pair.
//
// A row of the projection is a curve through the source, which the processor's own prefetching does not follow. And a
// camera has written the source just now: without asking for it ahead, waiting for memory is half of the time.
#include "base/prefetch.h"
#include "core/panorama_core.h"
#include "kernels/kernels.h"

using namespace ozr;

namespace
{

constexpr int32_t kBlock = 8;           // output pixels of a block
constexpr int32_t kBlockWeights = 128;  // 16 source pixels of each
constexpr int32_t kRowsAhead = 6;       // of the source, from the first that a row reads
constexpr int32_t kBlocksApart = 4;     // half a cache line, lest a curve miss one
constexpr int32_t kPairsApart = kBlocksApart * kBlock / 2;

kernels::ProjectionRow _tables_of_row(const PanoramaCore* pi, int32_t y, int32_t blocks)
{
    const ptrdiff_t first = static_cast<ptrdiff_t>(y) * blocks;
    return {pi->proj.block_offsets + first, pi->proj.weights + first * kBlockWeights, pi->factors.columns,
            pi->factors.rows + first * kBlock};
}

OZR_PREFETCHING void _ask_for_luma(const PanoImg* src, const int32_t* offsets, int32_t blocks)
{
    for (int32_t b = 0; b < blocks; b += kBlocksApart)
        prefetch(src->data, static_cast<uintptr_t>(offsets[b]) + rows_on(kRowsAhead, src->stride));
}

OZR_PREFETCHING void _ask_for_chroma(const uint8_t* chroma, ptrdiff_t stride, const int32_t* map,
                                     int32_t pairs)
{
    for (int32_t p = 0; p < pairs; p += kPairsApart)
        prefetch(chroma, rows_on(map[p], 2) + rows_on(kRowsAhead, stride));
}

}  // namespace

void ozr::core::project(const PanoramaCore* pi, PanoImg* dst, const PanoImg* src)
{
    const kernels::Kernels* kernels = kernels::active();
    const int32_t blocks = dst->width / kBlock;
    // Behind the luma plane the chroma plane may be read: its bytes count for nothing.
    const int64_t readable = pano_geometry_size(src);
    const int32_t even_rows = dst->height & ~1;
    for (int32_t y = 0; y < even_rows; ++y) {
        const kernels::ProjectionRow tables = _tables_of_row(pi, y, blocks);
        _ask_for_luma(src, tables.offsets, blocks);
        kernels->project.luma_row(pano_row(dst, y), src->data, readable, src->stride, tables, blocks);
    }
    // An odd last row has columns of its own, which only the table of products knows.
    if (even_rows < dst->height)
        kernels::kScalarKernels.project.luma_row(pano_row(dst, even_rows), src->data, readable, src->stride,
                                                 _tables_of_row(pi, even_rows, blocks), blocks);
    const int32_t pairs = dst->width / 2;
    const uint8_t* chroma = pano_chroma_row(src, 0);
    for (int32_t y = 0; y < dst->height / 2; ++y) {
        const int32_t* map = pi->proj.chroma_map + static_cast<ptrdiff_t>(y) * pairs;
        _ask_for_chroma(chroma, src->stride, map, pairs);
        kernels->project.chroma_row(pano_chroma_row(dst, y), chroma, map, pairs);
    }
}
