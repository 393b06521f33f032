// Composition: lays the aligned pictures out on one canvas, finds the seam of every overlap, and writes the pictures
// from left to right, each from its seam onward with a linear transition.
//
// Positions are canvas pixels: picture i lies at the sum of the alignment results up to i, and the output shows the band
// of rows that all pictures have in common.
#include <string.h>

#include <algorithm>

#include "ozr_buffer.h"
#include "ozr_kernels.h"
#include "pano_result.h"
#include "panorama_core.h"
#include "panorama_seam.h"
#include "panorama_util.h"

namespace
{

constexpr char kTag[] = "panorama_core_panorama";
constexpr uint8_t kBarred = 255;       // mask value that keeps the seam away
constexpr int64_t kSizeMask = 0xFFF0;  // output sizes: multiples of 16 below 65 536

// A transition at a seam, in pixels for luma and in pairs for chroma: `reach` columns to either side, weights rising from
// 1 by `step` 128ths.
struct Ramp {
    int32_t reach;
    int32_t step;
};

struct Ramps {
    Ramp luma;
    Ramp chroma;
};

// Transitions exist for three margins; with any other the pictures are switched at the seam.
Ramps _ramps(int32_t margin)
{
    if (margin != 16 && margin != 32 && margin != 64)
        return {{0, 0}, {0, 0}};
    return {{margin, 64 / margin}, {margin / 2, 128 / margin}};
}

// The seam between picture i - 1 and picture i of the canvas.
struct Seam {
    SeamRegion a;  // in the earlier picture
    SeamRegion b;  // in the later one; its left edge is the picture's
    OzrBuffer<int32_t> columns;
};

// The pictures from left to right, and where they lie.
struct Canvas {
    int32_t count;
    PanoImg* pictures[kMaxPictures];
    AlignItem* items[kMaxPictures];
    AlignResult results[kMaxPictures];
    Seam seams[kMaxPictures];  // from 1 on
    int64_t shift_sum;         // of x
    int64_t score_sum;
    int64_t highest;  // running sum of y: its minimum, at most 0
    int64_t lowest;   // and its maximum, at least 0
};

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

// A sweep of one picture is that picture.
int32_t _finish_without_overlap(const PanoramaCore* pi, int32_t count, PanoImg* out)
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
    const int32_t cloned = PanoImg_Clone(&pi->frames[index], out);
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

// Keeps the seam off both edges of the overlap. The bands may touch, not cross.
int32_t _bar_sides(uint8_t* mask, const SeamRegion& region, int32_t margin)
{
    const int32_t band = std::clamp(margin, 0, region.width / 2);
    const size_t bytes = static_cast<size_t>(band);
    for (int32_t y = 0; y < region.height; ++y) {
        memset(mask, kBarred, bytes);
        mask += region.width;
        memset(mask - band, kBarred, bytes);
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

int32_t _find_seam(const PanoramaCore* pi, Canvas* canvas, int32_t i)
{
    Seam* seam = &canvas->seams[i];
    PANO_FORWARD(_place_regions(*canvas, i, seam));
    const int64_t pixels = int64_t{seam->a.width} * seam->a.height;
    seam->columns = ozr_make_buffer<int32_t>(std::max(seam->a.height, 1));
    auto mask = ozr_make_buffer<uint8_t>(std::max(pixels, int64_t{1}));
    if (!seam->columns || !mask)
        return kPanoNoMemory;
    const int32_t band = _bar_sides(mask.get(), seam->a, pi->margin);
    if (i > 1)
        _bar_behind(mask.get(), seam->a, canvas->seams[i - 1], band);
    const int32_t found = panorama_seam_find(seam->columns.get(), mask.get(), &seam->a, &seam->b);
    _panoFreeAlignmentItem(canvas->items[i - 1]);
    return found;
}

int32_t _find_seams(const PanoramaCore* pi, Canvas* canvas)
{
    for (int32_t i = 1; i < canvas->count; ++i)
        PANO_FORWARD(_find_seam(pi, canvas, i));
    _panoFreeAlignmentItem(canvas->items[canvas->count - 1]);
    return kPanoSuccess;
}

int32_t _create_output(const PanoramaCore* pi, const Canvas& canvas, PanoImg* out)
{
    const int64_t band = pi->height + canvas.highest - canvas.lowest;
    const int32_t width = static_cast<int32_t>((pi->width + canvas.shift_sum) & kSizeMask);
    const int32_t height = static_cast<int32_t>(band & kSizeMask);
    if (band < 0 || height == 0)
        return kPanoNotSupported;
    return PanoImg_Create(out, width, height, kPanoNv12);
}

// The rows of a picture that stand behind one output row, and where its columns go.
struct Line {
    uint8_t* out;  // at the picture's left edge
    const uint8_t* src;
    int32_t unit_bytes;  // 1 for luma pixels, 2 for chroma pairs; all columns below count units
    int32_t columns;     // of the picture, as far as they lie on the canvas
};

void _copy_line(const Line& line, int32_t from)
{
    if (from < line.columns)
        PanoMemcpy(line.out + from * line.unit_bytes, line.src + from * line.unit_bytes,
                   static_cast<uint32_t>((line.columns - from) * line.unit_bytes));
}

// Writes a later picture from its seam onward. A ramp that the overlap clips keeps the weights of the whole ramp.
void _write_line(const Line& line, int32_t seam, int32_t overlap, const Ramp& ramp, BlendRow blend)
{
    const int32_t begin = std::min(std::max(seam - ramp.reach, 0), line.columns);
    const int32_t end = std::min({seam + ramp.reach, overlap, line.columns});
    const int32_t first_weight = 1 + (begin - (seam - ramp.reach)) * ramp.step;
    if (begin < end)
        blend(line.out + begin * line.unit_bytes, line.src + begin * line.unit_bytes, end - begin,
              first_weight, ramp.step);
    _copy_line(line, std::max(begin, end));
}

struct Position {
    int32_t x;
    int32_t y;
};

// The luma line of output row y; no columns when the picture has no such row.
Line _luma_line(const PanoImg* out, const PanoImg* picture, Position at, int32_t y, int32_t row)
{
    const bool shown = row >= 0 && row < picture->height;
    return {pano_row(out, y) + at.x, pano_row(picture, shown ? row : 0), 1,
            shown ? std::min(picture->width, out->width - at.x) : 0};
}

// The chroma line of output rows y and y + 1. Odd positions round down in the chroma plane.
Line _chroma_line(const PanoImg* out, const PanoImg* picture, Position at, int32_t y, int32_t row)
{
    const bool shown = row >= 0 && row >> 1 < picture->height / 2;
    const int32_t x = at.x >> 1;
    return {pano_chroma_row(out, y / 2) + 2 * x, pano_chroma_row(picture, shown ? row >> 1 : 0), 2,
            shown ? std::min(picture->width / 2, out->width / 2 - x) : 0};
}

// `top` is the picture row that the first output row shows.
void _write_first(PanoImg* out, const PanoImg* picture, int32_t top)
{
    for (int32_t y = 0; y < out->height; ++y) {
        _copy_line(_luma_line(out, picture, {0, 0}, y, top + y), 0);
        if (y % 2 == 0)
            _copy_line(_chroma_line(out, picture, {0, 0}, y, top + y), 0);
    }
}

void _write_later(PanoImg* out, const PanoImg* picture, const Seam& seam, Position at, int32_t top,
                  const Ramps& ramps)
{
    const OzrKernels* kernels = ozr_kernels();
    const int32_t* columns = seam.columns.get();
    for (int32_t y = 0; y < out->height; ++y) {
        const int32_t row = top + y - at.y;
        const int32_t overlap_row = row - seam.b.y;
        if (overlap_row < 0 || overlap_row >= seam.b.height)
            continue;
        const int32_t column = columns[overlap_row];
        _write_line(_luma_line(out, picture, at, y, row), column, seam.b.width, ramps.luma,
                    kernels->blend_row);
        // A chroma row follows the seam of the first of its two rows.
        if (y % 2 == 0)
            _write_line(_chroma_line(out, picture, at, y, row), column >> 1, seam.b.width >> 1, ramps.chroma,
                        kernels->blend_pairs_row);
    }
}

void _write_pictures(const PanoramaCore* pi, const Canvas& canvas, PanoImg* out)
{
    const int32_t top = static_cast<int32_t>(canvas.lowest);
    const Ramps ramps = _ramps(pi->margin);
    _write_first(out, canvas.pictures[0], top);
    Position at = {0, 0};
    for (int32_t i = 1; i < canvas.count; ++i) {
        at.x += canvas.results[i].x;
        at.y += canvas.results[i].y;
        _write_later(out, canvas.pictures[i], canvas.seams[i], at, top, ramps);
    }
}

}  // namespace

int32_t panorama_core_panorama(PanoramaCore* pi, int32_t count, PanoImg* out)
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
        return _finish_without_overlap(pi, count, out);
    pi->mean_score = static_cast<int32_t>(canvas.score_sum / pi->overlaps);
    if (_take_cancel(pi))
        return kPanoCancelled;
    PANO_FORWARD(_find_seams(pi, &canvas));
    if (_take_cancel(pi))
        return kPanoCancelled;
    PANO_FORWARD(_create_output(pi, canvas, out));
    if (_take_cancel(pi)) {
        PanoImg_Destroy(out);
        return kPanoCancelled;
    }
    _write_pictures(pi, canvas, out);
    return kPanoSuccess;
}
