// The place of a patch in another picture to a fraction of a pixel.
#ifndef REFINED_PATCH_FIT_H
#define REFINED_PATCH_FIT_H

#include "refined/patch_task.h"

namespace ozr::refined
{

// By how much the second picture's light grows against the first's with a step to the right and a
// step down in the first, as shares of it; known beforehand, and at most kMostFade either way.
struct PatchFade {
    double right;
    double down;
};
constexpr double kMostFade = 1.0 / 64;

// Moves the expected place to the best fit and returns the correlation there; -1 where the fit
// leaves a picture, drifts off by more than `drift` pixels, or has nothing to hold on to: a patch
// without contrast, or one that is overexposed.
double fit_patch(PatchTask* task, const PatchFade& fade, double drift);

}  // namespace ozr::refined

#endif
