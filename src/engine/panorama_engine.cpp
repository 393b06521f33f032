// The engine context: creation and release, parameters, cancellation.
#include "engine/panorama_engine.h"

#include <algorithm>

#include "core/panorama_core.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"
#include "ozr_memory.h"

using namespace ozr;
using namespace ozr::engine;

#define OZR_IS_AT(field, bytes32, bytes64)                                                                   \
    (offsetof(PanoramaInternal, field) == (sizeof(void*) == 4 ? (bytes32) : (bytes64)))
static_assert(OZR_IS_AT(direction, 28, 32) && OZR_IS_AT(motion, 32, 36) && OZR_IS_AT(status, 40, 44) &&
                  OZR_IS_AT(core, 44, 48) && OZR_IS_AT(count, 48, 56) && OZR_IS_AT(frames, 52, 64) &&
                  OZR_IS_AT(offsets, 332, 384) && OZR_IS_AT(frame_present, 412, 464) &&
                  OZR_IS_AT(image_state, 424, 476) && OZR_IS_AT(preview_prev, 464, 520) &&
                  OZR_IS_AT(preview_cur, 468, 528) && OZR_IS_AT(max_images, 472, 536) &&
                  OZR_IS_AT(overlap, 476, 540) && OZR_IS_AT(tolerance, 480, 544) &&
                  OZR_IS_AT(strict_mode, 484, 548) && OZR_IS_AT(reference, 488, 552) &&
                  OZR_IS_AT(inv_scale, 496, 560) && OZR_IS_AT(small, 500, 564) &&
                  OZR_IS_AT(direction_threshold, 508, 572) && OZR_IS_AT(target, 512, 576) &&
                  OZR_IS_AT(target_tolerance, 520, 584) && OZR_IS_AT(cancel_requested, 528, 592) &&
                  OZR_IS_AT(out_raw, 532, 600) &&
                  sizeof(PanoramaInternal) == (sizeof(void*) == 4 ? 536 : 608),
              "fields are in interface order without gaps but those of alignment");
#undef OZR_IS_AT
static_assert(offsetof(PictureSize, height) == 4 && offsetof(ozr_point, y) == 4, "two 32-bit words each");
static_assert(sizeof(PanoramaInternal::status) == 4 &&
                  sizeof(PanoramaInternal::image_state) == 4 * kMaxPictures &&
                  sizeof(PanoramaInternal::cancel_requested) == 1,
              "shared words are as large as what they hold");

namespace
{

constexpr int32_t kEngineVersion[4] = {1, 0, 2, 0};

constexpr int32_t kMinOverlap = 30;
constexpr int32_t kMaxOverlap = 95;

// The number of pictures of a full sweep: it is 2.734 picture widths longer than its first picture; rounded.
constexpr float kSweepWidths = 2.734F;
constexpr float kRounding = 1.5F;

constexpr int32_t kCancelPolls = 100;  // of one millisecond each

bool _is_busy(const PanoramaInternal* pe)
{
    return pe->status == kStatusCapturing || pe->status == kStatusStopped;
}

void _release_previews(PanoramaInternal* pe)
{
    ozr_free(pe->preview_prev);
    ozr_free(pe->preview_cur);
    pe->preview_prev = nullptr;
    pe->preview_cur = nullptr;
}

void _clear_slots(PanoramaInternal* pe)
{
    for (int32_t i = 0; i < kMaxPictures; ++i) {
        PanoImg_Destroy(&pe->frames[i]);
        pe->offsets[i] = {0, 0};
        pe->frame_present[i] = 0;
        pe->image_state[i] = kSlotEmpty;
    }
}

void _clear_detection(PanoramaInternal* pe)
{
    pe->reference = {0, 0};
    pe->inv_scale = 1.0F;
    pe->small = {0, 0};
    pe->direction_threshold = 0;
    pe->target = {0, 0};
    pe->target_tolerance = {0, 0};
}

void _release(PanoramaInternal* pe)
{
    panorama_core_destroy(pe->core);
    pe->core = nullptr;
    for (PanoImg& frame : pe->frames)
        PanoImg_Destroy(&frame);
    if (pe->out_img.data != nullptr)
        PanoImg_DestroyAligned(&pe->out_img, &pe->out_raw);
    _release_previews(pe);
    ozr_free(pe);
}

PanoResult _renew_core(PanoramaInternal* pe)
{
    panorama_core_destroy(pe->core);
    pe->core = nullptr;
    return as_result(panorama_core_create(&pe->core));
}

// The result is dropped: the parameter exists and accepts every percentage.
void _set_core_overlap(PanoramaInternal* pe, int32_t percent)
{
    ignore(as_result(panorama_core_set_param(pe->core, kCoreParamOverlap, static_cast<uint32_t>(percent))));
}

PanoResult _set_overlap(PanoramaInternal* pe, int32_t percent)
{
    if (percent < kMinOverlap || percent > kMaxOverlap)
        return kPanoNotSupported;
    pe->overlap = static_cast<float>(percent) / 100.0F;
    const int32_t pictures = static_cast<int32_t>(kSweepWidths / (1.0F - pe->overlap) + kRounding);
    pe->max_images = std::min(pictures, kMaxPictures);
    _set_core_overlap(pe, percent);
    return kPanoSuccess;
}

// Sleeps until the slot is no longer being added.
bool _wait_for_slot(const PanoramaInternal* pe, int32_t slot)
{
    for (int32_t i = 0; i < kCancelPolls && pe->image_state[slot] == kSlotAdding; ++i)
        PanoSleep(1);
    return pe->image_state[slot] != kSlotAdding;
}

bool _wait_for_synthesis(const PanoramaInternal* pe)
{
    for (int32_t i = 0; i < kCancelPolls && pe->status == kStatusStopped; ++i) {
        PanoLog("panorama_engine_cancel_process", __LINE__, "wait canceling synthesis process....");
        PanoSleep(1);
    }
    return pe->status != kStatusStopped;
}

int32_t _slots_in_use(const PanoramaInternal* pe)
{
    return std::clamp(pe->count.load(), 0, kMaxPictures);
}

}  // namespace

int32_t panorama_engine_create(PanoramaInternal** out)
{
    if (out == nullptr)
        return kPanoNullArgument;
    PanoramaInternal* pe = static_cast<PanoramaInternal*>(ozr_malloc(sizeof(PanoramaInternal)));
    if (pe == nullptr)
        return kPanoNoMemory;
    PanoMemset(pe, 0, sizeof(PanoramaInternal));
    *out = pe;
    const int32_t initialised = panorama_engine_init(pe);
    if (initialised < 0) {
        *out = nullptr;  // init has released the context
        return initialised;
    }
    pe->strict_mode = 0;
    return kPanoSuccess;
}

int32_t panorama_engine_init(PanoramaInternal* pe)
{
    if (pe == nullptr)
        return kPanoNullArgument;
    PanoLog("panorama_engine_init", __LINE__, "panorama_engine_init() status = %d", pe->status.load());
    const PanoResult renewed = _renew_core(pe);
    if (renewed < 0) {
        _release(pe);
        return renewed;
    }
    pe->direction = kDirectionUndecided;
    pe->status = kStatusIdle;
    pe->motion = {0, 0};
    pe->count = 0;
    pe->overlap = static_cast<float>(kDefaultOverlapPercent) / 100.0F;
    pe->tolerance = kTolerance;
    pe->max_images = kMaxPictures;
    _set_core_overlap(pe, kDefaultOverlapPercent);
    _release_previews(pe);
    _clear_slots(pe);
    PanoImg_DestroyAligned(&pe->out_img, &pe->out_raw);
    _clear_detection(pe);
    pe->cancel_requested = 0;
    return kPanoSuccess;
}

void panorama_engine_destroy(PanoramaInternal** pe)
{
    if (pe == nullptr || *pe == nullptr)
        return;
    PanoLog("panorama_engine_destroy", __LINE__, "panorama_engine_Destory() status = %d",
            (*pe)->status.load());
    _release(*pe);
    *pe = nullptr;
}

int32_t panorama_engine_set_param(PanoramaInternal* pe, int32_t id, int32_t value)
{
    if (pe == nullptr)
        return kPanoNullArgument;
    if (pe->status != kStatusIdle)
        return kPanoWrongState;
    switch (id) {
    case kParamStrictMode:
        pe->strict_mode = value != 0 ? 1 : 0;
        return kPanoSuccess;
    case kParamMaxImages:
        pe->max_images = std::clamp(value, 1, kMaxPictures);
        return kPanoSuccess;
    case kParamOverlap:
        return _set_overlap(pe, value);
    default:
        return kPanoNotSupported;
    }
}

int32_t panorama_engine_get_param(PanoramaInternal* pe, int32_t id)
{
    if (pe == nullptr)
        return kPanoNullArgument;
    switch (id) {
    case kParamStrictMode:
        return pe->strict_mode;
    case kParamMaxImages:
        return pe->max_images;
    case kParamOverlap:
        return static_cast<int32_t>(100.0F * pe->overlap);
    default:
        return kPanoNotSupported;
    }
}

const int32_t* panorama_engine_get_version(void)
{
    return kEngineVersion;
}

int32_t panorama_engine_get_process_status(PanoramaInternal* pe)
{
    if (pe == nullptr)
        return kPanoNullArgument;
    PanoLog("panorama_engine_get_process_status", __LINE__,
            "panorama_engine_get_process_status() status = %d", pe->status.load());
    return pe->status;
}

int32_t panorama_engine_cancel_process(PanoramaInternal* pe)
{
    if (pe == nullptr)
        return kPanoNullArgument;
    PanoLog("panorama_engine_cancel_process", __LINE__, "panorama_engine_cancel_process() status = %d",
            pe->status.load());
    if (!_is_busy(pe))
        return pe->status == kStatusCancelled ? kPanoSuccess : kPanoWrongState;
    pe->cancel_requested = 1;
    panorama_core_request_cancel_async(pe->core);
    PanoSleep(1);
    for (int32_t i = 0; i < _slots_in_use(pe); ++i) {
        if (!_wait_for_slot(pe, i))
            return kPanoCancelTimeout;
    }
    if (!_wait_for_synthesis(pe))
        return kPanoCancelTimeout;
    PanoLog("panorama_engine_cancel_process", __LINE__, "canceled synthesis process.");
    pe->cancel_requested = 0;
    return pe->status == kStatusCancelled ? kPanoSuccess : kPanoWrongState;
}

void panorama_engine_cancel_process_async(PanoramaInternal* pe)
{
    if (pe == nullptr)
        return;
    PanoLog("panorama_engine_cancel_process_async", __LINE__, "panorama_engine_cancel_process() status = %d",
            pe->status.load());
    request_cancel(pe);
}

void ozr::engine::request_cancel(PanoramaInternal* pe)
{
    if (!_is_busy(pe))
        return;
    pe->cancel_requested = 1;
    panorama_core_request_cancel_async(pe->core);
}

int32_t panorama_engine_check_ready_to_destroy(PanoramaInternal* pe)
{
    if (pe == nullptr)
        return kPanoNullArgument;
    if (!_is_busy(pe))
        return kPanoSuccess;
    for (int32_t i = 0; i < _slots_in_use(pe); ++i) {
        if (pe->image_state[i] == kSlotAdding)
            return kPanoPictureBusy;
    }
    return pe->status == kStatusStopped ? kPanoSynthesisRunning : kPanoSuccess;
}
