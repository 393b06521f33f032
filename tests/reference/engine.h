// The meaning of the engine: what each call does to a context, its pictures and its core, written
// down plainly. Each function has the arguments, the result and the log lines of the library's
// function of that name (0 where that has none), and works on a context of its own.
#ifndef REFERENCE_ENGINE_H
#define REFERENCE_ENGINE_H

#include <vector>

#include "engine/panorama_engine.h"

namespace ozr_reference
{

int32_t init(PanoramaInternal* pe);
void release(PanoramaInternal* pe);  // what the context owns, not the context
int32_t set_param(PanoramaInternal* pe, int32_t id, int32_t value);
int32_t get_param(PanoramaInternal* pe, int32_t id);
int32_t prepare_stitch(PanoramaInternal* pe);
int32_t set_image(PanoramaInternal* pe, const PanoImg* picture, int32_t index, const ozr_point* offset);
int32_t stop_capture(PanoramaInternal* pe);
int32_t process_synthesis(PanoramaInternal* pe, const void* logged_block);
void request_cancel(PanoramaInternal* pe);  // when there is work, and without a line
int32_t cancel_process(PanoramaInternal* pe);
int32_t cancel_process_async(PanoramaInternal* pe);
int32_t check_ready_to_destroy(PanoramaInternal* pe);

// detection.cpp
int32_t start_capture(PanoramaInternal* pe, const PanoImg* first);
int32_t process_frame(PanoramaInternal* pe, const PanoImg* frame);

// motion.cpp. Shift of the content of `current` against `reference`, both of
// width x height packed pixels.
ozr_point estimate_motion(const std::vector<uint8_t>& reference, const std::vector<uint8_t>& current,
                          int32_t width, int32_t height);

}  // namespace ozr_reference

#endif
