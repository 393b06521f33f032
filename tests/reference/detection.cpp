// What motion is measured against, and what it decides. Every float operation rounds once.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "engine/panorama_me.h"
#include "image/panorama_util.h"
#include "reference/codes.h"
#include "reference/engine.h"

namespace ozr_reference
{

namespace
{

int32_t scale_frame(const PanoramaInternal* pe, uint8_t* small, const PanoImg* frame)
{
    PanoImg gray = {};
    PanoImg_CreateRef(&gray, small, pe->small.width, pe->small.height, pe->small.width, 0);
    if (frame->format == 0 || frame->format == 1)
        return PanoImg_ResizeGray(&gray, frame);
    return frame->format == 3 ? PanoImg_ResizeGrayYUYV(&gray, frame) : kUnsupported;
}

// Whether the squared length of the sides fits 32 bits.
bool is_measurable(const PanoImg& img)
{
    const int64_t sides = int64_t{img.width} + img.height;
    return img.width > 0 && img.height > 0 && sides * sides <= INT32_MAX;
}

// Thresholds, targets and tolerances for frames of this size.
void refer_to(PanoramaInternal* state, int32_t width, int32_t height)
{
    const float rest = 1.0F - state->overlap, tolerance = state->tolerance;
    const float w = static_cast<float>(width), h = static_cast<float>(height);
    state->reference = {width, height};
    state->direction_threshold = (width + height) * (width + height) / 400;
    state->target = {static_cast<int32_t>(rest * w), static_cast<int32_t>(rest * h)};
    state->target_tolerance = {static_cast<int32_t>(w * tolerance), static_cast<int32_t>(h * tolerance)};
}

// Adds a shift of the scaled content to the motion of the camera.
void add_motion(PanoramaInternal* state, ozr_point shift)
{
    state->motion.x += static_cast<int32_t>(static_cast<float>(-shift.x) * state->inv_scale);
    state->motion.y += static_cast<int32_t>(static_cast<float>(-shift.y) * state->inv_scale);
}

// The direction of the motion so far, or 0 when it is not longer than a
// twentieth of the sides together.
int32_t direction_of(const PanoramaInternal& state)
{
    const int64_t x = state.motion.x, y = state.motion.y;
    if (x * x + y * y <= state.direction_threshold)
        return 0;
    if (std::abs(x) >= std::abs(y))
        return x > 0 ? 1 : 2;
    return y > 0 ? 3 : 4;
}

// Whether the next picture is to be taken.
bool is_due(const PanoramaInternal& state)
{
    if (state.direction < 1 || state.direction > 4)
        return false;
    const bool along_x = state.direction <= 2, backward = state.direction % 2 == 0;
    const int64_t x = state.motion.x, y = state.motion.y, along = along_x ? x : y, across = along_x ? y : x;
    const int64_t covered = backward ? -along : along;
    const int64_t target = along_x ? state.target.x : state.target.y,
                  slack = along_x ? state.target_tolerance.x : state.target_tolerance.y,
                  drift = along_x ? state.target_tolerance.y : state.target_tolerance.x;
    if (state.strict_mode != 0)
        return covered > target - slack && covered < target + slack && std::abs(across) < drift;
    return covered > target - slack;
}

}  // namespace

int32_t start_capture(PanoramaInternal* pe, const PanoImg* first)
{
    if (first == nullptr || first->data == nullptr)
        return kNull;
    if (pe->status != 1)
        return kWrongState;
    if (!is_measurable(*first))
        return kBad;
    const float scale = 320.0F / static_cast<float>(std::max(first->width, first->height));
    const int32_t width = static_cast<int32_t>(scale * static_cast<float>(first->width)),
                  height = static_cast<int32_t>(scale * static_cast<float>(first->height));
    pe->direction = static_cast<PanoDirection>(pe->motion.x = pe->motion.y = 0);
    pe->small = {width, height};
    pe->inv_scale = 1.0F / scale;
    pe->tolerance = pe->strict_mode != 0 ? 0.05F : 0.02F;
    refer_to(pe, first->width, first->height);
    if (width < 1 || height < 1)
        return kBad;
    PanoFree(pe->preview_prev);
    PanoFree(pe->preview_cur);
    pe->preview_prev = static_cast<uint8_t*>(PanoMalloc(static_cast<uint32_t>(width * height)));
    pe->preview_cur = static_cast<uint8_t*>(PanoMalloc(static_cast<uint32_t>(width * height)));
    if (pe->preview_prev == nullptr || pe->preview_cur == nullptr)
        return kOutOfMemory;
    const int32_t result = scale_frame(pe, pe->preview_prev, first);
    if (result == 0)
        pe->status = static_cast<PanoStatus>(2);
    return result;
}

int32_t process_frame(PanoramaInternal* pe, const PanoImg* frame)
{
    if (frame == nullptr || frame->data == nullptr)
        return kNull;
    if (pe->status != 2)
        return kWrongState;
    if (pe->count >= pe->max_images) {
        pe->status = static_cast<PanoStatus>(3);
        return 0;
    }
    if (!is_measurable(*frame))
        return kBad;
    const int32_t scaled = scale_frame(pe, pe->preview_cur, frame);
    if (scaled < 0)
        return scaled;
    ozr_point shift = {0, 0};
    const auto& [width, height] = pe->small;
    if (frame->width == pe->reference.width) {
        MotionEstimate(pe->preview_prev, pe->preview_cur, width, height, &shift.x, &shift.y);
    } else {
        refer_to(pe, frame->width, frame->height);
        const float scale = static_cast<float>(width) / static_cast<float>(frame->width);
        pe->inv_scale = 1.0F / scale;
    }
    std::swap(pe->preview_prev, pe->preview_cur);
    add_motion(pe, shift);
    if (pe->direction == 0) {
        pe->direction = static_cast<PanoDirection>(direction_of(*pe));
        const char* const names[] = {"", "RIGHT", "LEFT", "DOWN", "UP"};
        if (pe->direction != 0)
            PanoLog("panorama_engine_process_frame", 0, "direction = PANO_DIR_%s", names[pe->direction]);
    }
    return is_due(*pe) ? 1 : 0;
}

}  // namespace ozr_reference
