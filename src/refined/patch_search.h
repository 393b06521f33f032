// The place of a patch in another picture to a whole pixel: the best correlation near where it is
// expected.
#ifndef REFINED_PATCH_SEARCH_H
#define REFINED_PATCH_SEARCH_H

#include "refined/patch_task.h"

namespace ozr::refined
{

// A patch is kSearchSide pixels wide and high.
constexpr int32_t kSearchSide = 9;
constexpr int32_t kMaxReach = 4;

// Moves the expected place to the best one within `reach` pixels (at most kMaxReach) and returns
// the correlation there; -1 where the search leaves a picture.
double search_patch(PatchTask* task, int32_t reach);

// How alike a patch and what is expected of it in the second picture are, each less its mean.
struct PatchLikeness {
    double product;
    double first_square;
    double second_square;
};

// False where the patch leaves a picture.
bool compare_patch(const PatchTask& task, PatchLikeness* likeness);

}  // namespace ozr::refined

#endif
