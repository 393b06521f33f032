// Projection of pictures onto the cylinder, by the tables that panorama_core_projection_tables.cpp makes. Luma is
// interpolated from the 2 x 2 pixels around a source position, chroma taken from the nearest pair.
#include "ozr_kernels.h"
#include "panorama_core.h"

namespace
{

constexpr int32_t kBlock = 8;           // output pixels of a block
constexpr int32_t kBlockWeights = 128;  // 16 source pixels of each

OzrProjectionRow _tables_of_row(const PanoramaCore* pi, int32_t y, int32_t blocks)
{
    const ptrdiff_t first = static_cast<ptrdiff_t>(y) * blocks;
    return {pi->proj.block_offsets + first, pi->proj.weights + first * kBlockWeights, pi->factors.columns,
            pi->factors.rows + first * kBlock};
}

}  // namespace

void panorama_core_project(const PanoramaCore* pi, PanoImg* dst, const PanoImg* src)
{
    const OzrKernels* kernels = ozr_kernels();
    const int32_t blocks = dst->width / kBlock;
    // Behind the luma plane the chroma plane may be read: its bytes count for nothing.
    const int64_t readable = pano_geometry_size(src);
    const int32_t even_rows = dst->height & ~1;
    for (int32_t y = 0; y < even_rows; ++y)
        kernels->project_luma_row(pano_row(dst, y), src->data, readable, src->stride,
                                  _tables_of_row(pi, y, blocks), blocks);
    // An odd last row has columns of its own, which only the table of products knows.
    if (even_rows < dst->height)
        kOzrKernelsScalar.project_luma_row(pano_row(dst, even_rows), src->data, readable, src->stride,
                                           _tables_of_row(pi, even_rows, blocks), blocks);
    const int32_t pairs = dst->width / 2;
    for (int32_t y = 0; y < dst->height / 2; ++y)
        kernels->project_chroma_row(pano_chroma_row(dst, y), pano_chroma_row(src, 0),
                                    pi->proj.chroma_map + static_cast<ptrdiff_t>(y) * pairs, pairs);
}
