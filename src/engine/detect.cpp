// Frame detection: follows the camera from preview frame to preview frame on small grey copies, decides the direction of
// the sweep, and says when the next picture is due.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "engine/panorama_engine.h"
#include "engine/panorama_me.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"
#include "ozr_memory.h"

using namespace ozr;
using namespace ozr::engine;

namespace
{

// (w + h)^2 / 400 is the square of (w + h) / 20.
constexpr int32_t kThresholdDivisor = 400;

int32_t _share(int32_t size, float fraction)
{
    return static_cast<int32_t>(static_cast<float>(size) * fraction);
}

// Takes another frame size as the reference; the scaled size stays.
void _rebase(PanoramaInternal* pe, const PanoImg* frame)
{
    set_reference(pe, frame->width, frame->height);
    pe->inv_scale = 1.0F / (static_cast<float>(pe->small_width) / static_cast<float>(frame->width));
}

// A motion in scaled pixels, truncated to pixels of the reference size and added. Without an end to the sweep the sum
// may wrap around.
void _advance(int32_t* offset, int32_t motion, float inv_scale)
{
    const int32_t pixels = static_cast<int32_t>(static_cast<float>(motion) * inv_scale);
    *offset = static_cast<int32_t>(static_cast<uint32_t>(*offset) + static_cast<uint32_t>(pixels));
}

// Adds the camera's motion, which is the negated shift of the picture's content.
void _accumulate_motion(PanoramaInternal* pe)
{
    int32_t shift_x = 0;
    int32_t shift_y = 0;
    MotionEstimate(pe->preview_prev, pe->preview_cur, pe->small_width, pe->small_height, &shift_x, &shift_y);
    _advance(&pe->offset_x, -shift_x, pe->inv_scale);
    _advance(&pe->offset_y, -shift_y, pe->inv_scale);
}

// A direction from the motion so far; undecided while it is short. Ties go to the horizontal directions.
int32_t _direction_of(const PanoramaInternal* pe)
{
    const int64_t x = pe->offset_x;
    const int64_t y = pe->offset_y;
    if (x * x + y * y <= pe->direction_threshold)
        return kDirectionUndecided;
    if (std::abs(x) >= std::abs(y))
        return x > 0 ? kDirectionRight : kDirectionLeft;
    return y > 0 ? kDirectionDown : kDirectionUp;
}

void _log_direction(int32_t direction)
{
    static constexpr const char* kNames[] = {"", "PANO_DIR_RIGHT", "PANO_DIR_LEFT", "PANO_DIR_DOWN",
                                             "PANO_DIR_UP"};
    PanoLog("panorama_engine_process_frame", __LINE__, "direction = %s", kNames[direction]);
}

// The motion along the direction of the sweep, counted forward, with its goal; and the drift across it.
struct Progress {
    int64_t along;
    int64_t target;
    int64_t tolerance;
    int64_t across;
    int64_t across_tolerance;
};

Progress _progress(const PanoramaInternal* pe)
{
    const bool vertical = is_vertical(pe->direction);
    const bool backward = pe->direction == kDirectionLeft || pe->direction == kDirectionUp;
    const int64_t along = vertical ? pe->offset_y : pe->offset_x;
    const int64_t across = vertical ? pe->offset_x : pe->offset_y;
    return {backward ? -along : along, vertical ? pe->target_y : pe->target_x,
            vertical ? pe->tolerance_y : pe->tolerance_x, std::abs(across),
            vertical ? pe->tolerance_x : pe->tolerance_y};
}

// Normal mode: as soon as the target less the tolerance is covered. Strict mode: only inside the band around the
// target, and while the drift is small.
bool _is_due(const PanoramaInternal* pe)
{
    if (pe->direction < kDirectionRight || pe->direction > kDirectionUp)
        return false;
    const Progress p = _progress(pe);
    const bool reached = p.along > p.target - p.tolerance;
    if (pe->strict_mode == 0)
        return reached;
    return reached && p.along < p.target + p.tolerance && p.across < p.across_tolerance;
}

}  // namespace

bool ozr::engine::can_measure(const PanoImg* frame)
{
    const int64_t sum = int64_t{frame->width} + frame->height;
    return frame->width >= 1 && frame->height >= 1 && product_fits_32_bits(sum, sum);
}

void ozr::engine::set_reference(PanoramaInternal* pe, int32_t width, int32_t height)
{
    pe->ref_width = width;
    pe->ref_height = height;
    pe->direction_threshold = (width + height) * (width + height) / kThresholdDivisor;
    pe->target_x = _share(width, 1.0F - pe->overlap);
    pe->target_y = _share(height, 1.0F - pe->overlap);
    pe->tolerance_x = _share(width, pe->tolerance);
    pe->tolerance_y = _share(height, pe->tolerance);
}

int32_t ozr::engine::scale_preview(const PanoramaInternal* pe, uint8_t* small, const PanoImg* frame)
{
    PanoImg scaled = {};
    PANO_FORWARD(
        PanoImg_CreateRef(&scaled, small, pe->small_width, pe->small_height, pe->small_width, kPanoGray));
    switch (frame->format) {
    case kPanoGray:
    case kPanoNv12:
        return PanoImg_ResizeGray(&scaled, frame);
    case kPanoYuyv:
        return PanoImg_ResizeGrayYUYV(&scaled, frame);
    default:
        return kPanoNotSupported;
    }
}

int32_t panorama_engine_process_frame(PanoramaInternal* pe, const PanoImg* frame)
{
    if (pe == nullptr || frame == nullptr || frame->data == nullptr)
        return kPanoNullArgument;
    if (pe->status != kStatusCapturing)
        return kPanoWrongState;
    if (pe->count >= pe->max_images) {
        pe->status = kStatusStopped;  // the sweep is full
        return 0;
    }
    if (frame->width != pe->ref_width && !can_measure(frame))
        return kPanoBadArgument;
    if (pe->preview_cur == nullptr) {
        const int64_t pixels = int64_t{pe->small_width} * pe->small_height;
        pe->preview_cur = static_cast<uint8_t*>(ozr_calloc(static_cast<uint32_t>(pixels), 1));
        if (pe->preview_cur == nullptr)
            return kPanoNoMemory;
    }
    PANO_FORWARD(scale_preview(pe, pe->preview_cur, frame));
    if (frame->width == pe->ref_width)
        _accumulate_motion(pe);
    else
        _rebase(pe, frame);
    std::swap(pe->preview_prev, pe->preview_cur);
    if (pe->direction == kDirectionUndecided) {
        const int32_t direction = _direction_of(pe);
        if (direction == kDirectionUndecided)
            return 0;
        pe->direction = direction;
        _log_direction(direction);
    }
    return _is_due(pe) ? 1 : 0;
}
