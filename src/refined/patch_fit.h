// The place of one patch in another picture: a search over whole pixels, then a fit to fractions
// of a pixel.
#ifndef REFINED_PATCH_FIT_H
#define REFINED_PATCH_FIT_H

#include "refined/picture.h"

namespace ozr::refined
{

// How the first picture's surroundings of a place show in the second: by a step to the right and
// a step down.
struct PatchShape {
    double right_x;
    double right_y;
    double down_x;
    double down_y;
};

// By how much the second picture's light grows against the first's with a step to the right and a
// step down in the first, as shares of it; known beforehand, and at most kMostFade either way.
struct PatchFade {
    double right;
    double down;
};
constexpr double kMostFade = 1.0 / 64;

// A place that is looked for: `first` in whole pixels of its plane, `second` where it is expected
// in the other.
struct PatchTask {
    const ConstPlane* first_plane;
    const ConstPlane* second_plane;
    int32_t first_x;
    int32_t first_y;
    double second_x;
    double second_y;
    PatchShape shape;
    PatchFade fade;  // of fit_patch alone
};

// Moves task->second to the best place within `reach` pixels (at most kMaxReach) and returns the
// correlation there; -1 where the search leaves a picture. A patch is kSearchSide pixels wide.
constexpr int32_t kMaxReach = 4;
constexpr int32_t kSearchSide = 9;
double search_patch(PatchTask* task, int32_t reach);

// How alike a patch and what is expected of it in the second picture are, each less its mean.
struct PatchLikeness {
    double product;
    double first_square;
    double second_square;
};

// False where the patch leaves a picture.
bool compare_patch(const PatchTask& task, PatchLikeness* likeness);

// Moves task->second to the best fit and returns the correlation there; -1 where the fit leaves the
// picture, drifts off by more than `drift` pixels, or has nothing to hold on to: a patch without
// contrast, or one that is overexposed.
double fit_patch(PatchTask* task, double drift);

}  // namespace ozr::refined

#endif
