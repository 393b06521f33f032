// Composition: lays the aligned pictures out on one canvas, and has the seams found and the canvas written.
#include <algorithm>

#include "core/canvas.h"
#include "core/panorama_core.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"

using namespace ozr;
using namespace ozr::core;

namespace
{

constexpr char kTag[] = "panorama_core_panorama";
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

int32_t _copy_picture(const PanoImg* picture, PanoImg* out, void** raw_block)
{
    if (raw_block == nullptr)
        return PanoImg_Clone(picture, out);
    PanoImgOwner copy;
    PANO_FORWARD(PanoImg_Clone(picture, copy.get()));
    const uint32_t size = static_cast<uint32_t>(copy->size);
    uint8_t* data = static_cast<uint8_t*>(AlignedCalloc(size, 1, raw_block));
    if (*raw_block == nullptr)
        return kPanoNoMemory;
    PanoMemcpy(data, copy->data, size);
    return PanoImg_CreateRef(out, data, copy->width, copy->height, copy->stride, copy->format);
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

// An aligned block is what the caller of a whole sweep gets, so the pictures may be written straight into one. Every pixel
// will be: nothing is cleared.
int32_t _create_canvas(const PanoramaCore* pi, const Canvas& canvas, PanoImg* out, void** raw_block)
{
    const int64_t band = pi->height + canvas.highest - canvas.lowest;
    const int32_t width = static_cast<int32_t>((pi->width + canvas.shift_sum) & kSizeMask);
    const int32_t height = static_cast<int32_t>(band & kSizeMask);
    if (band < 0 || height == 0)
        return kPanoNotSupported;
    return raw_block != nullptr ? pano_create_aligned_unfilled(out, width, height, kPanoNv12, raw_block)
                                : pano_create_unfilled(out, width, height, kPanoNv12);
}

}  // namespace

int32_t ozr::core::compose(PanoramaCore* pi, int32_t count, PanoImg* out, void** raw_block)
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
    PANO_FORWARD(find_seams(&canvas, pi->margin));
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
    write_canvas(canvas, pi->margin, out);
    return kPanoSuccess;
}

int32_t panorama_core_panorama(PanoramaCore* pi, int32_t count, PanoImg* out)
{
    return compose(pi, count, out, nullptr);
}
