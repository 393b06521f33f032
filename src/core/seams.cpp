// The seams of a canvas: one in every overlap of two neighbours, each to the right of
// the one before.
#include <algorithm>

#include "base/prefetch.h"
#include "core/canvas.h"
#include "core/layout.h"
#include "core/seam_mask.h"
#include "core/seam_paths.h"
#include "image/pano_result.h"

using namespace ozr;
using namespace ozr::core;

namespace
{

constexpr int32_t kRowsAhead = 2;  // how far ahead rows are asked for

// What seams are found with, large enough for every overlap of a canvas: memory that was in use
// already costs nothing.
struct SeamTools {
    Buffer<uint8_t> mask;  // of a row
    SeamWorkspace workspace;
};

SeamTools _make_tools(const Canvas& canvas)
{
    int64_t columns = 1;
    int64_t bytes = 1;
    for (int32_t i = 1; i < canvas.count; ++i) {
        Seam seam = {};
        if (!place_regions(canvas, i, &seam))
            continue;
        const int64_t needed = seam_workspace_size(seam.a.width, seam.a.height);
        columns = std::max(columns, int64_t{seam.a.width});
        bytes = needed < 0 || bytes < 0 ? -1 : std::max(bytes, needed);
    }
    return {make_unfilled_buffer<uint8_t>(columns), make_seam_workspace(bytes)};
}

void _trace(Seam* seam, const Seam* before, int32_t margin, const SeamTools& tools)
{
    const int32_t width = seam->a.width;
    SeamMask mask(tools.mask.get(), seam->a, margin, before);
    SeamPaths paths(tools.workspace.get(), width);
    for (int32_t y = 0; y < seam->a.height; ++y) {
        const uint8_t* a = region_row(&seam->a, y);
        const uint8_t* b = region_row(&seam->b, y);
        prefetch_bytes(a, rows_on(kRowsAhead, seam->a.img->stride), width);
        prefetch_bytes(b, rows_on(kRowsAhead, seam->b.img->stride), width);
        paths.add_row(a, b, mask.row(y));
    }
    paths.trace(seam->columns.get());
}

PanoResult _find_seam(Canvas* canvas, int32_t i, int32_t margin, const SeamTools& tools)
{
    Seam* seam = &canvas->seams[i];
    if (!place_regions(*canvas, i, seam))
        return kPanoBadArgument;
    seam->columns = make_buffer<int32_t>(std::max(seam->a.height, 1));
    if (!seam->columns || !tools.mask)
        return kPanoNoMemory;
    const PanoResult found = check_regions(&seam->a, &seam->b);
    if (found == kPanoSuccess && tools.workspace)
        _trace(seam, i > 1 ? &canvas->seams[i - 1] : nullptr, margin, tools);
    _panoFreeAlignmentItem(canvas->items[i - 1]);
    return found == kPanoSuccess && !tools.workspace ? kPanoNoMemory : found;
}

}  // namespace

PanoResult ozr::core::find_seams(Canvas* canvas, int32_t margin)
{
    const SeamTools tools = _make_tools(*canvas);
    for (int32_t i = 1; i < canvas->count; ++i)
        PANO_FORWARD(_find_seam(canvas, i, margin, tools));
    _panoFreeAlignmentItem(canvas->items[canvas->count - 1]);
    return kPanoSuccess;
}
