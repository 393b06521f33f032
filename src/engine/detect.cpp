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

// Makes the size of this frame the reference; the scaled size does not change.
void _rebase(PanoramaInternal* pe, const PanoImg* frame)
{
    set_reference(pe, frame->width, frame->height);
    pe->inv_scale = 1.0F / (static_cast<float>(pe->small.width) / static_cast<float>(frame->width));
}

// Adds a motion in scaled pixels, truncated to pixels of the reference size. The sum wraps around if a sweep never ends.
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
    MotionEstimate(pe->preview_prev, pe->preview_cur, pe->small.width, pe->small.height, &shift_x, &shift_y);
    _advance(&pe->motion.x, -shift_x, pe->inv_scale);
    _advance(&pe->motion.y, -shift_y, pe->inv_scale);
}

// The direction of the motion so far; undecided while it is short. A tie counts as horizontal.
PanoDirection _direction_of(const PanoramaInternal* pe)
{
    const int64_t x = pe->motion.x;
    const int64_t y = pe->motion.y;
    if (x * x + y * y <= pe->direction_threshold)
        return kDirectionUndecided;
    if (std::abs(x) >= std::abs(y))
        return x > 0 ? kDirectionRight : kDirectionLeft;
    return y > 0 ? kDirectionDown : kDirectionUp;
}

void _log_direction(PanoDirection direction)
{
    static constexpr const char* kNames[] = {"", "PANO_DIR_RIGHT", "PANO_DIR_LEFT", "PANO_DIR_DOWN",
                                             "PANO_DIR_UP"};
    PanoLog("panorama_engine_process_frame", __LINE__, "direction = %s", kNames[direction]);
}

// The motion along the direction of the sweep, positive forward, with its target; and the drift across it.
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
    const int64_t along = vertical ? pe->motion.y : pe->motion.x;
    const int64_t across = vertical ? pe->motion.x : pe->motion.y;
    return {backward ? -along : along, vertical ? pe->target.y : pe->target.x,
            vertical ? pe->target_tolerance.y : pe->target_tolerance.x, std::abs(across),
            vertical ? pe->target_tolerance.x : pe->target_tolerance.y};
}

// In normal mode a picture is due as soon as the motion exceeds the target minus the tolerance; in strict mode only while
// it is within the tolerance of the target and the drift is small.
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
    pe->reference = {width, height};
    pe->direction_threshold = (width + height) * (width + height) / kThresholdDivisor;
    pe->target = {_share(width, 1.0F - pe->overlap), _share(height, 1.0F - pe->overlap)};
    pe->target_tolerance = {_share(width, pe->tolerance), _share(height, pe->tolerance)};
}

PanoResult ozr::engine::scale_preview(const PanoramaInternal* pe, uint8_t* small, const PanoImg* frame)
{
    PanoImg scaled = {};
    PANO_FORWARD(
        PanoImg_CreateRef(&scaled, small, pe->small.width, pe->small.height, pe->small.width, kPanoGray));
    switch (frame->format) {
    case kPanoGray:
    case kPanoNv12:
        return as_result(PanoImg_ResizeGray(&scaled, frame));
    case kPanoYuyv:
        return as_result(PanoImg_ResizeGrayYUYV(&scaled, frame));
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
    if (frame->width != pe->reference.width && !can_measure(frame))
        return kPanoBadArgument;
    if (pe->preview_cur == nullptr) {
        const int64_t pixels = int64_t{pe->small.width} * pe->small.height;
        pe->preview_cur = static_cast<uint8_t*>(ozr_calloc(static_cast<uint32_t>(pixels), 1));
        if (pe->preview_cur == nullptr)
            return kPanoNoMemory;
    }
    PANO_FORWARD(scale_preview(pe, pe->preview_cur, frame));
    if (frame->width == pe->reference.width)
        _accumulate_motion(pe);
    else
        _rebase(pe, frame);
    std::swap(pe->preview_prev, pe->preview_cur);
    if (pe->direction == kDirectionUndecided) {
        const PanoDirection direction = _direction_of(pe);
        if (direction == kDirectionUndecided)
            return 0;
        pe->direction = direction;
        _log_direction(direction);
    }
    return _is_due(pe) ? 1 : 0;
}
