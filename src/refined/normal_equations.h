// Symmetric systems of linear equations, as least squares give them.
#ifndef REFINED_NORMAL_EQUATIONS_H
#define REFINED_NORMAL_EQUATIONS_H

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <cmath>

namespace ozr::refined
{

// Of up to kMost unknowns; the lower triangle counts.
template <size_t kMost>
struct NormalEquations {
    int32_t unknowns;
    double matrix[kMost][kMost];
    double right[kMost];

    void clear(int32_t count)
    {
        unknowns = count;
        for (int32_t i = 0; i < count; ++i)
            std::fill_n(matrix[i], count, 0.0);
        std::fill_n(right, count, 0.0);
    }

    // Solves by Cholesky's decomposition, which replaces the matrix. False where it is not positive
    // definite.
    bool solve(double* solution)
    {
        if (!decompose())
            return false;
        for (int32_t i = 0; i < unknowns; ++i)
            solution[i] = rest_of_row(matrix[i], solution, i, right[i]) / matrix[i][i];
        for (int32_t i = unknowns - 1; i >= 0; --i) {
            double rest = solution[i];
            for (int32_t j = i + 1; j < unknowns; ++j)
                rest -= matrix[j][i] * solution[j];
            solution[i] = rest / matrix[i][i];
        }
        return true;
    }

private:
    static double rest_of_row(const double* a, const double* b, int32_t count, double start)
    {
        for (int32_t i = 0; i < count; ++i)
            start -= a[i] * b[i];
        return start;
    }

    bool decompose()
    {
        for (int32_t i = 0; i < unknowns; ++i) {
            for (int32_t j = 0; j < i; ++j)
                matrix[i][j] = rest_of_row(matrix[i], matrix[j], j, matrix[i][j]) / matrix[j][j];
            const double square = rest_of_row(matrix[i], matrix[i], i, matrix[i][i]);
            if (!(square > 0.0))
                return false;
            matrix[i][i] = std::sqrt(square);
        }
        return true;
    }
};

}  // namespace ozr::refined

#endif
