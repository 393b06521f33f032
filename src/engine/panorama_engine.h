// The panorama engine: a state machine over one sweep of pictures.
//
// panorama_engine.cpp holds the context's life, parameters and cancellation; detect.cpp follows the
// preview frames; capture.cpp takes the pictures in; synthesis.cpp makes the panorama.
//
// Results are PanoResult codes. The engine logs no failures; its progress lines have the debug
// level. It takes no lock: status, image_state, count and cancel_requested are shared words. The
// cancelling thread polls the first three; the working thread reads the last one between its steps.
//
// The engine cannot detect a context that panorama_engine_create did not make, a context that is
// destroyed or initialised while a thread works in it, or a picture whose memory is smaller than
// its geometry.
#ifndef PANORAMA_ENGINE_H
#define PANORAMA_ENGINE_H

#include <stdint.h>

#include "base/limits.h"
#include "base/shared_word.h"
#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "ozr_types.h"

struct PanoramaCore;

enum PanoStatus : int32_t {
    kStatusCreated = 0,
    kStatusIdle = 1,       // ready for parameters and a new sweep
    kStatusCapturing = 2,  // first picture seen
    kStatusStopped = 3,    // capture ended, synthesis pending or running
    kStatusComposed = 4,
    kStatusCancelled = 5,
    kStatusFailed = 6,
};

enum PanoSlotState : int32_t {
    kSlotEmpty = 0,
    kSlotReserved = 1,
    kSlotAdding = 2,
    kSlotAdded = 3,
    kSlotFailed = 4,
    kSlotCancelled = 5,
};

// Parameter numbers.
enum PanoParam : int32_t {
    kParamStrictMode = 0,  // 0 or 1
    kParamMaxImages = 1,   // 1 to 10
    kParamOverlap = 2,     // percent, 30 to 95; also sets the number of pictures
};

struct PanoramaInternal {
    PanoImg out_img;  // the panorama; its pixels are inside the block out_raw
    PanoDirection direction;
    ozr_point motion;  // since the last picture, in pixels of the reference size
    ozr::SharedWord<PanoStatus> status;
    PanoramaCore* core;
    ozr::SharedWord<int32_t> count;       // pictures reserved in this sweep
    PanoImg frames[kMaxPictures];         // pictures not yet given to the core
    ozr_point offsets[kMaxPictures];      // of each picture, as the caller passed it
    uint8_t frame_present[kMaxPictures];  // 1 while frames[i] holds a picture
    ozr::SharedWord<PanoSlotState> image_state[kMaxPictures];
    uint8_t* preview_prev;  // scaled grey copies of the last two preview frames
    uint8_t* preview_cur;
    int32_t max_images;
    float overlap;    // fraction
    float tolerance;  // of detection, fraction
    uint8_t strict_mode;
    PictureSize reference;        // for motion: the first picture's, then the preview's
    float inv_scale;              // from scaled preview pixels to reference pixels
    PictureSize small;            // of the scaled preview
    int32_t direction_threshold;  // squared length of the motion that decides the direction
    ozr_point target;             // motion from one picture to the next
    ozr_point target_tolerance;
    ozr::SharedWord<uint8_t> cancel_requested;
    void* out_raw;
};

OZR_BEGIN_DECLS

// Allocates a context and makes it idle. -3: out is null; -8: memory is out.
OZR_API int32_t panorama_engine_create(PanoramaInternal** out);

// Prepares a new sweep: releases everything of the last one and restores the parameters but strict
// mode. When memory is out (-8) the context itself is released.
OZR_API int32_t panorama_engine_init(PanoramaInternal* pe);

// Releases everything and clears *pe, in any status, so cancel first. Does nothing for null.
OZR_API void panorama_engine_destroy(PanoramaInternal** pe);

// -7: not idle; -2: no such parameter, or a value outside its range.
OZR_API int32_t panorama_engine_set_param(PanoramaInternal* pe, int32_t id, int32_t value);

// The value, or -2: no such parameter.
OZR_API int32_t panorama_engine_get_param(PanoramaInternal* pe, int32_t id);

// Four numbers.
OZR_API const int32_t* panorama_engine_get_version(void);

OZR_API int32_t panorama_engine_get_process_status(PanoramaInternal* pe);

// Cancels the work of another thread (docs/architecture.md) and waits for it, at most about 100 ms
// for each picture and for the synthesis. 0: cancelled; -7: nothing to cancel, or the work ended
// before it saw the request; -104: it did not stop.
OZR_API int32_t panorama_engine_cancel_process(PanoramaInternal* pe);

// Asks the work of another thread to stop, without waiting.
OZR_API void panorama_engine_cancel_process_async(PanoramaInternal* pe);

// 0: the context may be destroyed; -101: a picture is being added; -102: the capture was stopped
// and the synthesis has not ended.
OZR_API int32_t panorama_engine_check_ready_to_destroy(PanoramaInternal* pe);

// Follows the camera with one preview frame. 1: take the next picture; 0: not now. -3: null or no
// pixels; -4: an impossible geometry; -7: not capturing; -8: memory is out; -2: a format other than
// grey, NV12 or YUYV.
OZR_API int32_t panorama_engine_process_frame(PanoramaInternal* pe, const PanoImg* frame);

// Opens a sweep with its first picture, whose pixels are scaled down and not kept. Codes as above,
// -7: not idle.
OZR_API int32_t panorama_engine_start_capture(PanoramaInternal* pe, const PanoImg* first);

// Reserves the next slot and returns its index. -4: null; -7: wrong status; -103: the sweep is
// full.
OZR_API int32_t panorama_engine_prepare_stitch(PanoramaInternal* pe);

// Takes a picture into its reserved slot and returns the number of slots reserved. -3: null; -5:
// cancelled; -4: no such slot, or an offset or geometry that cannot be handled; -7: wrong status,
// or slot not reserved; -101: no first picture; -2: not NV12; -8: memory is out; or a code of the
// core.
OZR_API int32_t panorama_engine_set_image(PanoramaInternal* pe, const PanoImg* picture, int32_t index,
                                          const ozr_point* offset);

// Closes the sweep. -7: neither capturing nor stopped.
OZR_API int32_t panorama_engine_stop_capture(PanoramaInternal* pe);

// Makes the panorama of a stopped sweep in out_img. -7: not stopped, or no picture; -101: one
// usable picture that is not held; -5: cancelled; -8: memory is out; or a code of the core.
OZR_API int32_t panorama_engine_process_synthesis(PanoramaInternal* pe);

OZR_END_DECLS

namespace ozr::engine
{

// The largest distance of a motion from its target, as a fraction of the reference size.
constexpr float kTolerance = 0.02F;
constexpr float kStrictTolerance = 0.05F;

// panorama_engine_cancel_process_async without its log line, to repeat the request. `pe` is not
// null.
void request_cancel(PanoramaInternal* pe);

// Whether motion can be measured at the size of this frame: both sides are positive and (width +
// height)^2 fits 32 bits.
bool can_measure(const PanoImg* frame);

// Sets the size that motion is measured in, and the thresholds, targets and tolerances that follow
// from it.
void set_reference(PanoramaInternal* pe, int32_t width, int32_t height);

// Scales the luma of a frame into a packed grey buffer of the scaled size, pe->small. -2: a format
// without readable luma; -4: a stride shorter than a row.
PanoResult scale_preview(const PanoramaInternal* pe, uint8_t* small, const PanoImg* frame);

}  // namespace ozr::engine

#endif
