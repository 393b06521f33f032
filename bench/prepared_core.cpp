#include "prepared_core.h"

#include <algorithm>
#include <map>
#include <memory>

using namespace ozr::core;

const PanoramaCore* prepared_core(Size size)
{
    static std::map<int32_t, PanoramaCore*> prepared;
    PanoramaCore*& core = prepared[size.width];
    if (core == nullptr) {
        panorama_core_create(&core);
        ozr::ignore(prepare(core, 1, size.width, size.height, size.width));
    }
    return core;
}

PreparedRows::PreparedRows(Size size)
    : core_(prepared_core(size)), blocks_(static_cast<size_t>(size.width) / 8),
      offsets_(blocks_ * static_cast<size_t>(size.height)), chroma_offsets_(offsets_.size() / 2),
      chroma_maps_(offsets_.size() * 2), rows_(offsets_.size() * 8)
{
    for (ProjectionWalk walk(core_); walk.next();) {
        keep(walk.below(), walk.y_below(), walk.has_chroma());
        keep(walk.above(), walk.y_above(), walk.has_chroma());
    }
}

void PreparedRows::keep(const ProjectedRow& row, int32_t y, bool has_chroma)
{
    const auto at = static_cast<size_t>(y);
    std::copy_n(row.offsets.get(), blocks_, &offsets_[at * blocks_]);
    std::copy_n(row.rows.get(), 8 * blocks_, &rows_[at * 8 * blocks_]);
    if (!has_chroma)
        return;
    std::copy_n(row.chroma_offsets.get(), blocks_, &chroma_offsets_[at / 2 * blocks_]);
    std::copy_n(row.chroma_map.get(), 4 * blocks_, &chroma_maps_[at / 2 * 4 * blocks_]);
}

ozr::kernels::ProjectionRow PreparedRows::luma(int32_t y) const
{
    const size_t first = static_cast<size_t>(y) * blocks_;
    return {&offsets_[first], core_->projection->columns.get(), &rows_[8 * first]};
}

ozr::kernels::ProjectionChromaRow PreparedRows::chroma(int32_t y) const
{
    const size_t first = static_cast<size_t>(y) * blocks_;
    return {&chroma_offsets_[first], core_->projection->pair_order.get(), &chroma_maps_[4 * first]};
}

const PreparedRows& prepared_rows(Size size)
{
    static std::map<int32_t, std::unique_ptr<PreparedRows>> prepared;
    std::unique_ptr<PreparedRows>& rows = prepared[size.width];
    if (!rows)
        rows = std::make_unique<PreparedRows>(size);
    return *rows;
}

int64_t projected_luma_bytes(Size size)
{
    return 2 * int64_t{size.width} * size.height;
}

int64_t projected_chroma_bytes(Size size)
{
    return int64_t{size.width} * size.height;
}
