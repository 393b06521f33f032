// Symmetric systems of linear equations, as least squares give them.
#ifndef REFINED_NORMAL_EQUATIONS_H
#define REFINED_NORMAL_EQUATIONS_H

#include <stdint.h>

#include "base/limits.h"

namespace ozr::refined
{

constexpr int32_t kMaxUnknowns = 6 * kMaxPictures + 2;

// The lower triangle counts.
struct NormalEquations {
    int32_t unknowns;
    double matrix[kMaxUnknowns][kMaxUnknowns];
    double right[kMaxUnknowns];
};

void clear_equations(NormalEquations* equations, int32_t unknowns);

// Solves by Cholesky's decomposition, which replaces the matrix. False where it is
// not positive definite.
bool solve_equations(NormalEquations* equations, double* solution);

}  // namespace ozr::refined

#endif
