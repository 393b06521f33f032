// The refined quality behind the engine's state machine: the same slots, statuses and requests to
// stop as the classic one, with the pictures in an object of its own instead of the core.
#ifndef ENGINE_REFINED_SWEEP_H
#define ENGINE_REFINED_SWEEP_H

#include "engine/panorama_engine.h"
#include "refined/sweep.h"

namespace ozr::engine
{

// As panorama_engine_set_image, but for the number of slots. `offset` is a hint in pixels of the
// reference size; null: unknown.
PanoResult panorama_engine_add_refined(PanoramaInternal* pe, refined::Sweep* sweep, const PanoImg* picture,
                                       int32_t index, const ozr_point* offset);

// As panorama_engine_process_synthesis.
PanoResult panorama_engine_compose_refined(PanoramaInternal* pe, refined::Sweep* sweep);

}  // namespace ozr::engine

#endif
