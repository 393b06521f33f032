#include "prepared_core.h"

#include <map>

const PanoramaCore* prepared_core(Size size)
{
    static std::map<int32_t, PanoramaCore*> prepared;
    PanoramaCore*& core = prepared[size.width];
    if (core == nullptr) {
        panorama_core_create(&core);
        panorama_core_init(core, 1, size.width, size.height, size.width);
    }
    return core;
}

ozr::kernels::ProjectionRow projection_row(const PanoramaCore* core, int32_t y)
{
    const ptrdiff_t first = static_cast<ptrdiff_t>(y) * (core->width / 8);
    return {core->proj.block_offsets + first, core->proj.weights + 128 * first, core->factors.columns,
            core->factors.rows + 8 * first};
}

int64_t projected_luma_bytes(Size size)
{
    const int64_t pixels = int64_t{size.width} * size.height;
    return pixels * 2 + pixels * 32 + pixels / 2;  // the picture, products of 2 bytes, block offsets
}

int64_t projected_chroma_bytes(Size size)
{
    const int64_t pixels = int64_t{size.width} * size.height;
    return pixels + pixels;  // the picture's pairs, the map
}
