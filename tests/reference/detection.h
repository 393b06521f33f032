// The meaning of detection: what motion is measured against, and what it decides. Every float operation rounds once.
#ifndef REFERENCE_DETECTION_H
#define REFERENCE_DETECTION_H

#include "engine/panorama_engine.h"

namespace ozr_reference
{

float fraction_of(int32_t percent);
int32_t percent_of(float fraction);
int32_t pictures_for(float overlap);

// Whether the squared length of the sides fits 32 bits.
bool is_measurable(const PanoImg& img);

// Thresholds, targets and tolerances for frames of this size.
void refer_to(PanoramaInternal* state, int32_t width, int32_t height);

// Adds a shift of the scaled content to the motion of the camera.
void add_motion(PanoramaInternal* state, ozr_point shift);

// The direction of the motion so far, or 0 when it is not longer than a twentieth of the sides together.
int32_t direction_of(const PanoramaInternal& state);

// Whether the next picture is to be taken.
bool is_due(const PanoramaInternal& state);

}  // namespace ozr_reference

#endif
