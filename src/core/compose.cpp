// Composition: lays the aligned pictures out on one canvas, and has the seams found and
// the canvas written.
#include <algorithm>

#include "core/canvas.h"
#include "core/layout.h"
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

void _lay_out(PanoramaCore* pi, Canvas* canvas)
{
    const int32_t taken = take_pictures(*pi, canvas);
    if (taken == canvas->count)
        return;
    canvas->count = taken;
    pi->g_nCount = taken;
    pi->overlaps = taken - 1;
    PanoLog(kTag, __LINE__, "Actual # of image in synthesis is %d. (ignored after)", pi->g_nCount);
}

// A sweep of one picture is that picture.
PanoResult _finish_without_overlap(const PanoramaCore* pi, int32_t count, PanoImgOwner* out)
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
    const PanoResult cloned = out != nullptr ? out->copy(&pi->frames[index]) : kPanoBadArgument;
    PanoLog(kTag, __LINE__, "Exiting synthesis: pi->g_nCount(%d) == 1", pi->g_nCount);
    return cloned;
}

// Every pixel will be written, so nothing is cleared.
PanoResult _create_canvas(const PanoramaCore* pi, const Canvas& canvas, PanoImgOwner* out)
{
    const int64_t band = pi->input.height + canvas.highest - canvas.lowest;
    const int32_t width = static_cast<int32_t>((pi->input.width + canvas.shift_sum) & kSizeMask);
    const int32_t height = static_cast<int32_t>(band & kSizeMask);
    if (band < 0 || height == 0)
        return kPanoNotSupported;
    return out != nullptr ? out->create(width, height, kPanoNv12) : kPanoBadArgument;
}

}  // namespace

PanoResult ozr::core::compose(PanoramaCore* pi, int32_t count, PanoImgOwner* out)
{
    if (pi == nullptr)
        return kPanoNullArgument;
    if (count < 0)
        return kPanoNotSupported;
    if (count > kMaxPictures)
        return kPanoBadArgument;
    pi->g_nCount = count;
    pi->overlaps = count - 1;
    PanoLog(kTag, __LINE__, "start synthesis %d image(s), (size: %dx%d)", count, pi->input.width,
            pi->input.height);
    if (!_all_aligned(pi, count))
        return kPanoPictureMissing;
    if (count > 0)
        _panoFreeAlignmentItem(&pi->align[count - 1]);
    Canvas canvas = {};
    order_pictures(pi, count, &canvas);
    _lay_out(pi, &canvas);
    if (pi->g_nCount <= 1)
        return _finish_without_overlap(pi, count, out);
    pi->mean_score = static_cast<int32_t>(canvas.score_sum / pi->overlaps);
    if (_take_cancel(pi))
        return kPanoCancelled;
    PANO_FORWARD(find_seams(&canvas, pi->margin));
    if (_take_cancel(pi))
        return kPanoCancelled;
    PANO_FORWARD(_create_canvas(pi, canvas, out));
    if (_take_cancel(pi)) {
        out->reset();
        return kPanoCancelled;
    }
    write_canvas(canvas, pi->margin, out->get());
    return kPanoSuccess;
}

int32_t panorama_core_panorama(PanoramaCore* pi, int32_t count, PanoImg* out)
{
    PanoImgOwner composed;
    const PanoResult result = compose(pi, count, out != nullptr ? &composed : nullptr);
    // Kept: after a failure the caller's record has the size that the panorama was to have, once
    // that was known.
    if (composed->width != 0 && out != nullptr)
        *out = composed.release();
    return result;
}
