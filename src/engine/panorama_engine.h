// The panorama engine: a state machine over one sweep of pictures.
//
// panorama_engine.cpp holds the context's life, parameters and cancellation; panorama_engine_detect.cpp follows the
// preview frames; panorama_engine_capture.cpp takes the pictures in; panorama_engine_synthesis.cpp makes the panorama.
//
// Results are PanoResult codes. The engine logs no failures; its progress lines go to the debug level. It takes no lock:
// a cancelling thread and the working thread share status, image_state and cancel_requested as plain words, which the
// former polls while it sleeps.
//
// What cannot be detected: a context that panorama_engine_create did not make, one that is destroyed or initialised while
// a thread works in it, and pictures whose memory is smaller than their geometry says.
#ifndef PANORAMA_ENGINE_H
#define PANORAMA_ENGINE_H

#include <stdint.h>

#include "base/limits.h"
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
    PanoImg out_img;  // the panorama; its pixels lie inside the block out_raw
    int32_t direction;
    int32_t offset_x;  // motion since the last picture, in pixels of the reference size
    int32_t offset_y;
    volatile int32_t status;
    PanoramaCore* core;
    int32_t count;                        // pictures reserved in this sweep
    PanoImg frames[kMaxPictures];         // pictures not yet given to the core
    ozr_point offsets[kMaxPictures];      // of each picture, as the caller passed it
    uint8_t frame_present[kMaxPictures];  // 1 while frames[i] holds a picture
    volatile int32_t image_state[kMaxPictures];
    uint8_t* preview_prev;  // scaled grey copies of the last two preview frames
    uint8_t* preview_cur;
    int32_t max_images;
    float overlap;    // fraction
    float tolerance;  // of detection, fraction
    uint8_t strict_mode;
    int32_t ref_width;  // size that the motion is measured in: the first picture's, then the preview's
    int32_t ref_height;
    float inv_scale;  // from scaled preview pixels to reference pixels
    int32_t small_width;
    int32_t small_height;
    int32_t direction_threshold;  // squared length of the motion that decides the direction
    int32_t target_x;             // motion from one picture to the next
    int32_t target_y;
    int32_t tolerance_x;
    int32_t tolerance_y;
    volatile uint8_t cancel_requested;
    void* out_raw;
};

OZR_BEGIN_DECLS

// Allocates a context and makes it idle. -3: out is null; -8: memory is out.
OZR_API int32_t panorama_engine_create(PanoramaInternal** out);

// Prepares a new sweep: releases everything of the last one and restores the parameters but strict mode. When memory is
// out (-8) the context itself is released.
OZR_API int32_t panorama_engine_init(PanoramaInternal* pe);

// Releases everything and clears *pe, whatever the status: cancel first. Null is no fault.
OZR_API void panorama_engine_destroy(PanoramaInternal** pe);

// -7: not idle; -2: no such parameter, or a value outside its range.
OZR_API int32_t panorama_engine_set_param(PanoramaInternal* pe, int32_t id, int32_t value);

// The value, or -2: no such parameter.
OZR_API int32_t panorama_engine_get_param(PanoramaInternal* pe, int32_t id);

// Four numbers.
OZR_API const int32_t* panorama_engine_get_version(void);

OZR_API int32_t panorama_engine_get_process_status(PanoramaInternal* pe);

// Cancels the work of another thread and waits for it, at most about 100 ms for each picture and for the synthesis.
// 0: cancelled; -7: nothing to cancel, or the work ended by itself; -104: it did not stop.
OZR_API int32_t panorama_engine_cancel_process(PanoramaInternal* pe);

// Asks the work of another thread to stop, without waiting.
OZR_API void panorama_engine_cancel_process_async(PanoramaInternal* pe);

// 0, or why the context must not be destroyed yet. -101: a picture is being added; -102: the capture was stopped and the
// synthesis has not ended.
OZR_API int32_t panorama_engine_check_ready_to_destroy(PanoramaInternal* pe);

// Follows the camera with one preview frame. 1: take the next picture; 0: not now. -3: null or no pixels; -4: an impossible
// geometry; -7: not capturing; -8: memory is out; -2: a format other than grey, NV12 or YUYV.
OZR_API int32_t panorama_engine_process_frame(PanoramaInternal* pe, const PanoImg* frame);

// Opens a sweep with its first picture, whose pixels are scaled down and not kept. Codes as above, -7: not idle.
OZR_API int32_t panorama_engine_start_capture(PanoramaInternal* pe, const PanoImg* first);

// Reserves the next slot and returns its index. -4: null; -7: wrong status; -103: the sweep is full.
OZR_API int32_t panorama_engine_prepare_stitch(PanoramaInternal* pe);

// Takes a picture into its reserved slot and returns the number of slots reserved. -3: null; -5: cancelled; -4: no such
// slot, or an offset or geometry that cannot be handled; -7: wrong status, or slot not reserved; -101: no first picture;
// -2: not NV12; -8: memory is out; or a code of the core.
OZR_API int32_t panorama_engine_set_image(PanoramaInternal* pe, const PanoImg* picture, int32_t index,
                                          const ozr_point* offset);

// Closes the sweep. -7: neither capturing nor stopped.
OZR_API int32_t panorama_engine_stop_capture(PanoramaInternal* pe);

// Makes the panorama of a stopped sweep in out_img. -7: not stopped, or no picture; -101: one usable picture that is not
// held; -5: cancelled; -8: memory is out; or a code of the core.
OZR_API int32_t panorama_engine_process_synthesis(PanoramaInternal* pe);

OZR_END_DECLS

namespace ozr::engine
{

// panorama_engine_cancel_process_async without its log line, for repeating the request. Not null.
void request_cancel(PanoramaInternal* pe);

// What detection and the start of a capture share.

// Takes w x h as the size that motion is measured in: thresholds, targets and tolerances. False when (w + h)^2 does not
// fit 32 bits, or a size is not positive.
bool can_measure(const PanoImg* frame);
void set_reference(PanoramaInternal* pe, int32_t width, int32_t height);

// Scales the luma of a frame into a packed grey buffer of small_width x small_height. -2: a format without readable luma;
// -4: a stride shorter than a row.
int32_t scale_preview(const PanoramaInternal* pe, uint8_t* small, const PanoImg* frame);

}  // namespace ozr::engine

#endif
