// Composition: lays the aligned pictures out on one canvas, finds the seam of every overlap, and has the canvas written.
#include <string.h>

#include <algorithm>

#include "ozr_buffer.h"
#include "pano_result.h"
#include "panorama_canvas.h"
#include "panorama_core.h"
#include "panorama_util.h"

namespace
{

constexpr char kTag[] = "panorama_core_panorama";
constexpr uint8_t kBarred = 255;       // mask value that keeps the seam away
constexpr int64_t kSizeMask = 0xFFF0;  // output sizes: multiples of 16 below 65 536

bool _take_cancel(PanoramaCore* pi)
{
    if (pi->cancel == 0)
        return false;
    pi->cancel = 0;
    return true;
}

bool _all_aligned(const PanoramaCore* pi, int32_t count)
{
    return std::all_of(pi->aligned, pi->aligned + count, [](uint8_t aligned) { return aligned != 0; });
}

// When the sweep runs backwards, the last picture is the leftmost one.
void _order_pictures(PanoramaCore* pi, int32_t count, Canvas* canvas)
{
    canvas->count = count;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t index = pi->forward != 0 ? i : count - 1 - i;
        canvas->pictures[i] = &pi->frames[index];
        canvas->items[i] = &pi->align[index];
        canvas->results[i] = pi->offsets[index];
    }
}

// Takes pictures while at least half a picture's height remains in common.
void _lay_out(PanoramaCore* pi, Canvas* canvas)
{
    int64_t y = 0;
    for (int32_t i = 0; i < canvas->count; ++i) {
        const AlignResult& result = canvas->results[i];
        y += result.y;
        const int64_t highest = std::min(canvas->highest, y);
        const int64_t lowest = std::max(canvas->lowest, y);
        if (pi->height + highest - lowest < pi->half_height) {
            canvas->count = i;
            pi->g_nCount = i;
            pi->overlaps = i - 1;
            PanoLog(kTag, __LINE__, "Actual # of image in synthesis is %d. (ignored after)", pi->g_nCount);
            return;
        }
        canvas->shift_sum += result.x;
        canvas->score_sum += result.score;
        canvas->highest = highest;
        canvas->lowest = lowest;
    }
}

// An aligned block is what the caller of a whole sweep gets, so the pictures may be written straight into one.
int32_t _create_output(PanoImg* out, void** raw_block, int32_t width, int32_t height)
{
    return raw_block != nullptr ? PanoImg_CreateAligned(out, width, height, kPanoNv12, raw_block)
                                : PanoImg_Create(out, width, height, kPanoNv12);
}

int32_t _copy_picture(const PanoImg* picture, PanoImg* out, void** raw_block)
{
    if (raw_block == nullptr)
        return PanoImg_Clone(picture, out);
    PANO_FORWARD(_create_output(out, raw_block, picture->width, picture->height));
    PanoMemcpy(out->data, picture->data, static_cast<uint32_t>(std::min(picture->size, out->size)));
    return kPanoSuccess;
}

// A sweep of one picture is that picture.
int32_t _finish_without_overlap(const PanoramaCore* pi, int32_t count, PanoImg* out, void** raw_block)
{
    if (pi->g_nCount < 1) {
        PanoLog(kTag, __LINE__, "Exiting synthesis: pi->g_nCount(%d) < 1", pi->g_nCount);
        return kPanoNotSupported;
    }
    const int32_t index = pi->forward != 0 ? 0 : count - 1;
    if (pi->forward != 0)
        PanoLog(kTag, __LINE__, "saving pProject[0]");
    else
        PanoLog(kTag, __LINE__, "saving pProject[%d]", index);
    const int32_t cloned = _copy_picture(&pi->frames[index], out, raw_block);
    PanoLog(kTag, __LINE__, "Exiting synthesis: pi->g_nCount(%d) == 1", pi->g_nCount);
    return cloned;
}

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

// A mask that keeps the seam off both edges of the overlap. The bands may touch, not cross.
int32_t _bar_sides(uint8_t* mask, const SeamRegion& region, int32_t margin)
{
    const int32_t band = std::clamp(margin, 0, region.width / 2);
    const size_t barred = static_cast<size_t>(band);
    const size_t free = static_cast<size_t>(region.width) - 2 * barred;
    for (int32_t y = 0; y < region.height; ++y, mask += region.width) {
        memset(mask, kBarred, barred);
        memset(mask + band, 0, free);
        memset(mask + region.width - band, kBarred, barred);
    }
    return band;
}

// Keeps the seam to the right of the one before: bars each shared row up to `band` columns past the earlier seam. Both
// are known in columns and rows of the picture that the two overlaps share.
void _bar_behind(uint8_t* mask, const SeamRegion& region, const Seam& before, int32_t band)
{
    const int32_t* columns = before.columns.get();
    for (int32_t y = 0; y < region.height; ++y, mask += region.width) {
        const int32_t row = region.y + y - before.b.y;
        if (row < 0 || row >= before.b.height)
            continue;
        const int32_t barred = columns[row] - region.x + band + 1;
        memset(mask, kBarred, static_cast<size_t>(std::clamp(barred, 0, region.width)));
    }
}

// What seams are found with, large enough for every overlap of a canvas: memory that was in use already costs nothing.
struct SeamTools {
    OzrBuffer<uint8_t> mask;
    SeamWorkspace workspace;
};

SeamTools _make_seam_tools(const Canvas& canvas)
{
    int64_t pixels = 1;
    int64_t bytes = 1;
    for (int32_t i = 1; i < canvas.count; ++i) {
        Seam seam = {};
        if (_place_regions(canvas, i, &seam) < 0)
            continue;
        const int64_t needed = panorama_seam_workspace_size(seam.a.width, seam.a.height);
        pixels = std::max(pixels, int64_t{seam.a.width} * seam.a.height);
        bytes = needed < 0 || bytes < 0 ? -1 : std::max(bytes, needed);
    }
    return {ozr_make_unfilled_buffer<uint8_t>(pixels), panorama_seam_make_workspace(bytes)};
}

int32_t _find_seam(const PanoramaCore* pi, Canvas* canvas, int32_t i, const SeamTools& tools)
{
    Seam* seam = &canvas->seams[i];
    PANO_FORWARD(_place_regions(*canvas, i, seam));
    seam->columns = ozr_make_buffer<int32_t>(std::max(seam->a.height, 1));
    if (!seam->columns || !tools.mask)
        return kPanoNoMemory;
    const int32_t band = _bar_sides(tools.mask.get(), seam->a, pi->margin);
    if (i > 1)
        _bar_behind(tools.mask.get(), seam->a, canvas->seams[i - 1], band);
    const int32_t found = panorama_seam_find_in(tools.workspace.get(), seam->columns.get(), tools.mask.get(),
                                                &seam->a, &seam->b);
    _panoFreeAlignmentItem(canvas->items[i - 1]);
    return found;
}

int32_t _find_seams(const PanoramaCore* pi, Canvas* canvas)
{
    const SeamTools tools = _make_seam_tools(*canvas);
    for (int32_t i = 1; i < canvas->count; ++i)
        PANO_FORWARD(_find_seam(pi, canvas, i, tools));
    _panoFreeAlignmentItem(canvas->items[canvas->count - 1]);
    return kPanoSuccess;
}

int32_t _create_canvas(const PanoramaCore* pi, const Canvas& canvas, PanoImg* out, void** raw_block)
{
    const int64_t band = pi->height + canvas.highest - canvas.lowest;
    const int32_t width = static_cast<int32_t>((pi->width + canvas.shift_sum) & kSizeMask);
    const int32_t height = static_cast<int32_t>(band & kSizeMask);
    if (band < 0 || height == 0)
        return kPanoNotSupported;
    return _create_output(out, raw_block, width, height);
}

}  // namespace

int32_t panorama_core_compose(PanoramaCore* pi, int32_t count, PanoImg* out, void** raw_block)
{
    if (pi == nullptr)
        return kPanoNullArgument;
    if (count < 0)
        return kPanoNotSupported;
    if (count > kMaxPictures)
        return kPanoBadArgument;
    pi->g_nCount = count;
    pi->overlaps = count - 1;
    PanoLog(kTag, __LINE__, "start synthesis %d image(s), (size: %dx%d)", count, pi->width, pi->height);
    if (!_all_aligned(pi, count))
        return kPanoPictureMissing;
    if (count > 0)
        _panoFreeAlignmentItem(&pi->align[count - 1]);
    Canvas canvas = {};
    _order_pictures(pi, count, &canvas);
    _lay_out(pi, &canvas);
    if (pi->g_nCount <= 1)
        return _finish_without_overlap(pi, count, out, raw_block);
    pi->mean_score = static_cast<int32_t>(canvas.score_sum / pi->overlaps);
    if (_take_cancel(pi))
        return kPanoCancelled;
    PANO_FORWARD(_find_seams(pi, &canvas));
    if (_take_cancel(pi))
        return kPanoCancelled;
    PANO_FORWARD(_create_canvas(pi, canvas, out, raw_block));
    if (_take_cancel(pi)) {
        if (raw_block != nullptr)
            PanoImg_DestroyAligned(out, raw_block);
        else
            PanoImg_Destroy(out);
        return kPanoCancelled;
    }
    panorama_canvas_write(canvas, pi->margin, out);
    return kPanoSuccess;
}

int32_t panorama_core_panorama(PanoramaCore* pi, int32_t count, PanoImg* out)
{
    return panorama_core_compose(pi, count, out, nullptr);
}
