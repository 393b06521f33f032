// The projection as tables, for callers of panorama_core_init: 35 bytes a pixel. A sweep of the
// library's own has none, and works out what it needs row by row.
#include "core/panorama_core.h"
#include "core/projection.h"
#include "image/pano_result.h"
#include "kernels/kernels.h"
#include "kernels/projection_block.h"
#include "support/buffer.h"

#include <string.h>

using namespace ozr;
using namespace ozr::core;
using namespace ozr::kernels;

namespace
{

constexpr int32_t kWeightsPerPixel = kPatch * kPatch;

// The tables in the making.
struct Tables {
    Buffer<int32_t> offsets;
    Buffer<uint16_t> weights;
    Buffer<int32_t> chroma_map;

    bool allocate(int64_t pixels)
    {
        offsets = make_buffer<int32_t>(pixels / kBlock);
        weights = make_buffer<uint16_t>(pixels * kWeightsPerPixel);
        chroma_map = make_buffer<int32_t>(pixels / 4);
        return offsets && weights && chroma_map;
    }

    void fill_luma(const Projection& projection, const ProjectedRow& row, int32_t y) const
    {
        const ptrdiff_t first = static_cast<ptrdiff_t>(y) * projection.blocks;
        memcpy(offsets.get() + first, row.offsets.get(),
               static_cast<size_t>(projection.blocks) * sizeof(int32_t));
        kernels::active()->project.weights_row(weights.get() + first * kBlockWeights,
                                               {row.offsets.get(), projection.columns.get(), row.rows.get()},
                                               projection.blocks);
    }

    void fill_chroma(const Projection& projection, const ProjectedRow& row, int32_t y) const
    {
        const ptrdiff_t pairs = ptrdiff_t{projection.blocks} * kBlockPairs;
        for (ptrdiff_t p = 0; p < pairs; ++p) {
            const int32_t offset = row.chroma_offsets[static_cast<size_t>(p / kBlockPairs)];
            const int32_t behind = projection.pair_order[static_cast<size_t>(2 * p)];
            chroma_map[static_cast<size_t>(y * pairs + p)] =
                offset >= 0 ? (offset + behind) / 2 : row.chroma_map[static_cast<size_t>(p)];
        }
    }

    // All positions of an odd last row are the source's first pixel: that is in the patches of the
    // last four pixels of a block, which begin seven columns before.
    void fill_odd_last_row(const Projection& projection, int32_t y) const
    {
        const ptrdiff_t first = static_cast<ptrdiff_t>(y) * projection.blocks;
        for (ptrdiff_t block = first; block < first + projection.blocks; ++block) {
            offsets[static_cast<size_t>(block)] = 1 - kBlock;
            for (int32_t k = kBlock / 2; k < kBlock; ++k)
                weights[static_cast<size_t>(block * kBlockWeights + (kBlock - 1 - k) * kBlock + k)] =
                    kPixel * kPixel;
        }
    }
};

}  // namespace

void ozr::core::free_projection(ProjectionInfo* info)
{
    if (info == nullptr)
        return;
    ozr_free(info->unused[0]);
    ozr_free(info->unused[1]);
    ozr_free(info->block_offsets);
    ozr_free(info->weights);
    ozr_free(info->chroma_map);
    *info = ProjectionInfo{};
}

bool ozr::core::tables_fit(const PanoramaCore* pi)
{
    const int64_t pixels = int64_t{projected_width(pi)} * pi->input.height;
    return pixels * kWeightsPerPixel <= UINT32_MAX / int64_t{sizeof(uint16_t)};
}

PanoResult ozr::core::make_tables(PanoramaCore* pi)
{
    Tables tables;
    if (!tables.allocate(int64_t{projected_width(pi)} * pi->input.height)) {
        free_projection(&pi->proj);
        return kPanoTablesNoMemory;
    }
    const Projection& projection = *pi->projection;
    for (ProjectionWalk walk(pi); walk.next();) {
        tables.fill_luma(projection, walk.below(), walk.y_below());
        tables.fill_luma(projection, walk.above(), walk.y_above());
        if (!walk.has_chroma())
            continue;
        tables.fill_chroma(projection, walk.below(), walk.y_below() / 2);
        tables.fill_chroma(projection, walk.above(), walk.y_above() / 2);
    }
    if (pi->input.height % 2 != 0)
        tables.fill_odd_last_row(projection, pi->input.height - 1);
    pi->proj.block_offsets = tables.offsets.release();
    pi->proj.weights = tables.weights.release();
    pi->proj.chroma_map = tables.chroma_map.release();
    return kPanoSuccess;
}
