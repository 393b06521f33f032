// The engine context: its life, parameters and cancellation.
#include "engine/panorama_engine.h"

#include <algorithm>

#include "core/panorama_core.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"
#include "ozr_memory.h"

using namespace ozr::engine;

#if UINTPTR_MAX == UINT32_MAX
static_assert(offsetof(PanoramaInternal, direction) == 28 && offsetof(PanoramaInternal, status) == 40 &&
                  offsetof(PanoramaInternal, frames) == 52 && offsetof(PanoramaInternal, offsets) == 332 &&
                  offsetof(PanoramaInternal, frame_present) == 412 &&
                  offsetof(PanoramaInternal, image_state) == 424 &&
                  offsetof(PanoramaInternal, preview_prev) == 464 &&
                  offsetof(PanoramaInternal, overlap) == 476 &&
                  offsetof(PanoramaInternal, strict_mode) == 484 &&
                  offsetof(PanoramaInternal, ref_width) == 488 &&
                  offsetof(PanoramaInternal, tolerance_y) == 524 &&
                  offsetof(PanoramaInternal, cancel_requested) == 528 &&
                  offsetof(PanoramaInternal, out_raw) == 532 && sizeof(PanoramaInternal) == 536,
              "fields stand in interface order without gaps but those after bytes");
#endif

namespace
{

constexpr int32_t kEngineVersion[4] = {1, 0, 2, 0};

constexpr int32_t kDefaultOverlap = 70;  // percent
constexpr float kDefaultOverlapShare = 0.7F;
constexpr float kDefaultTolerance = 0.02F;
constexpr int32_t kMinOverlap = 30;
constexpr int32_t kMaxOverlap = 95;

// Pictures that a full sweep needs: 2.734 picture widths beyond the first, rounded.
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
    pe->ref_width = 0;
    pe->ref_height = 0;
    pe->inv_scale = 1.0F;
    pe->small_width = 0;
    pe->small_height = 0;
    pe->direction_threshold = 0;
    pe->target_x = 0;
    pe->target_y = 0;
    pe->tolerance_x = 0;
    pe->tolerance_y = 0;
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

int32_t _renew_core(PanoramaInternal* pe)
{
    panorama_core_destroy(pe->core);
    pe->core = nullptr;
    return panorama_core_create(&pe->core);
}

int32_t _set_overlap(PanoramaInternal* pe, int32_t percent)
{
    if (percent < kMinOverlap || percent > kMaxOverlap)
        return kPanoNotSupported;
    pe->overlap = static_cast<float>(percent) / 100.0F;
    const int32_t pictures = static_cast<int32_t>(kSweepWidths / (1.0F - pe->overlap) + kRounding);
    pe->max_images = std::min(pictures, kMaxPictures);
    panorama_core_set_param(pe->core, 0, static_cast<uint32_t>(percent));
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
    return std::clamp(pe->count, 0, kMaxPictures);
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
    PanoLog("panorama_engine_init", __LINE__, "panorama_engine_init() status = %d", pe->status);
    const int32_t renewed = _renew_core(pe);
    if (renewed < 0) {
        _release(pe);
        return renewed;
    }
    pe->direction = kDirectionUndecided;
    pe->status = kStatusIdle;
    pe->offset_x = 0;
    pe->offset_y = 0;
    pe->count = 0;
    pe->overlap = kDefaultOverlapShare;
    pe->tolerance = kDefaultTolerance;
    pe->max_images = kMaxPictures;
    panorama_core_set_param(pe->core, 0, kDefaultOverlap);
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
    PanoLog("panorama_engine_destroy", __LINE__, "panorama_engine_Destory() status = %d", (*pe)->status);
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
            "panorama_engine_get_process_status() status = %d", pe->status);
    return pe->status;
}

int32_t panorama_engine_cancel_process(PanoramaInternal* pe)
{
    if (pe == nullptr)
        return kPanoNullArgument;
    PanoLog("panorama_engine_cancel_process", __LINE__, "panorama_engine_cancel_process() status = %d",
            pe->status);
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
            pe->status);
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
