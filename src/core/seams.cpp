// The seams of a canvas: one in every overlap of two neighbours, each to the right of the one before.
#include <string.h>

#include <algorithm>

#include "base/prefetch.h"
#include "core/canvas.h"
#include "core/seam_paths.h"
#include "image/pano_result.h"

using namespace ozr;
using namespace ozr::core;

namespace
{

constexpr uint8_t kBarred = 255;   // mask value that keeps the seam away
constexpr int32_t kRowsAhead = 2;  // how far ahead rows are asked for

bool _is_inside(const SeamRegion& region)
{
    return region.x >= 0 && region.y >= 0 && int64_t{region.x} + region.width <= region.img->width &&
           int64_t{region.y} + region.height <= region.img->height;
}

// Two regions of one size, each in its own picture. An overlap without columns or rows is left to the seam finder; one
// that would reach outside a picture is refused.
int32_t _place_regions(const Canvas& canvas, int32_t i, Seam* seam)
{
    const PanoImg* earlier = canvas.pictures[i - 1];
    const PanoImg* later = canvas.pictures[i];
    const AlignResult& at = canvas.results[i];
    const int64_t width = int64_t{earlier->width} - at.x;
    const int64_t height = at.y >= 0 ? int64_t{earlier->height} - at.y : int64_t{later->height} + at.y;
    if (at.x < 0 || width < 0 || height < 0)
        return kPanoBadArgument;
    seam->a = {earlier, at.x, std::max(at.y, 0), static_cast<int32_t>(width), static_cast<int32_t>(height)};
    seam->b = {later, 0, -std::min(at.y, 0), static_cast<int32_t>(width), static_cast<int32_t>(height)};
    return _is_inside(seam->a) && _is_inside(seam->b) ? kPanoSuccess : kPanoBadArgument;
}

// The mask of one row after the other: keeps the seam off both edges of the overlap, and off more columns on the left.
class RowMask
{
public:
    // `bytes`: `width` of them. The bands on both sides may touch, not cross.
    RowMask(uint8_t* bytes, int32_t width, int32_t band)
        : bytes_(bytes), band_(band), free_end_(width - band), barred_(band)
    {
        memset(bytes, 0, static_cast<size_t>(width));
        bar(0, band);
        bar(free_end_, width);
    }

    // Bars the columns up to `end`; from one row to the next it moves little.
    const uint8_t* barred_to(int32_t end)
    {
        end = std::clamp(end, band_, free_end_);
        if (end > barred_)
            bar(barred_, end);
        else
            memset(bytes_ + end, 0, static_cast<size_t>(barred_ - end));
        barred_ = end;
        return bytes_;
    }

private:
    void bar(int32_t begin, int32_t end)
    {
        memset(bytes_ + begin, kBarred, static_cast<size_t>(end - begin));
    }

    uint8_t* bytes_;
    int32_t band_;
    int32_t free_end_;
    int32_t barred_;
};

// Where the columns end that a row of the overlap gives up to the seam before: `band` columns past it. Both are known in
// columns and rows of the picture that the two overlaps share. `before` may be null.
int32_t _end_behind(const Seam* before, const SeamRegion& region, int32_t y, int32_t band)
{
    const int32_t row = before != nullptr ? region.y + y - before->b.y : -1;
    if (row < 0 || row >= before->b.height)
        return 0;
    return before->columns[static_cast<size_t>(row)] - region.x + band + 1;
}

// What seams are found with, large enough for every overlap of a canvas: memory that was in use already costs nothing.
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
        if (_place_regions(canvas, i, &seam) < 0)
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
    const int32_t band = std::clamp(margin, 0, width / 2);
    RowMask mask(tools.mask.get(), width, band);
    SeamPaths paths(tools.workspace.get(), width);
    for (int32_t y = 0; y < seam->a.height; ++y) {
        const uint8_t* a = region_row(&seam->a, y);
        const uint8_t* b = region_row(&seam->b, y);
        prefetch_bytes(a, rows_on(kRowsAhead, seam->a.img->stride), width);
        prefetch_bytes(b, rows_on(kRowsAhead, seam->b.img->stride), width);
        paths.add_row(a, b, mask.barred_to(_end_behind(before, seam->a, y, band)));
    }
    paths.trace(seam->columns.get());
}

int32_t _find_seam(Canvas* canvas, int32_t i, int32_t margin, const SeamTools& tools)
{
    Seam* seam = &canvas->seams[i];
    PANO_FORWARD(_place_regions(*canvas, i, seam));
    seam->columns = make_buffer<int32_t>(std::max(seam->a.height, 1));
    if (!seam->columns || !tools.mask)
        return kPanoNoMemory;
    const int32_t found = check_regions(&seam->a, &seam->b);
    if (found == kPanoSuccess && tools.workspace)
        _trace(seam, i > 1 ? &canvas->seams[i - 1] : nullptr, margin, tools);
    _panoFreeAlignmentItem(canvas->items[i - 1]);
    return found == kPanoSuccess && !tools.workspace ? kPanoNoMemory : found;
}

}  // namespace

int32_t ozr::core::find_seams(Canvas* canvas, int32_t margin)
{
    const SeamTools tools = _make_tools(*canvas);
    for (int32_t i = 1; i < canvas->count; ++i)
        PANO_FORWARD(_find_seam(canvas, i, margin, tools));
    _panoFreeAlignmentItem(canvas->items[canvas->count - 1]);
    return kPanoSuccess;
}
