// The adjustment as a problem of least squares: where each unknown has its place, the equations of
// all matches, and a step along their solution.
#ifndef REFINED_ADJUST_PROBLEM_H
#define REFINED_ADJUST_PROBLEM_H

#include "refined/adjust.h"
#include "refined/normal_equations.h"
#include "refined/residual.h"

namespace ozr::refined
{

// Unknowns of a picture: three of its turn, one of its zoom; and two of its skew.
constexpr int32_t kPictureUnknowns = 4;
constexpr int32_t kSkewUnknowns = 2;

// And two of the lens.
constexpr int32_t kMaxUnknowns = (kPictureUnknowns + kSkewUnknowns) * kMaxPictures + 2;
using Equations = NormalEquations<kMaxUnknowns>;

// A task with the places of its unknowns.
struct Problem : AdjustTask {
    LensFreedom freedom;

    int32_t unknowns() const
    {
        return skew_index(0) + (freedom == kShutterToo ? kSkewUnknowns * pictures : 0);
    }
    static int32_t turn_index(int32_t picture) { return kPictureUnknowns * picture; }
    static int32_t zoom_index(int32_t picture) { return kPictureUnknowns * picture + 3; }
    int32_t focal_index() const { return kPictureUnknowns * pictures; }
    int32_t radial_index() const { return kPictureUnknowns * pictures + 1; }
    int32_t skew_index(int32_t picture) const
    {
        return kPictureUnknowns * pictures + 2 + kSkewUnknowns * picture;
    }
};

// The equations at these cameras, and their robust cost; `width` of the weights in base pixels.
double set_up(const Problem& problem, const Lenses& lenses, double width, Equations* equations);

// Cameras moved by a step of all unknowns.
Lenses after_step(const Problem& problem, const Lenses& lenses, const double* step);

}  // namespace ozr::refined

#endif
