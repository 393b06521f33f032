#include "refined/normal_equations.h"

#include <algorithm>
#include <cmath>

namespace ozr::refined
{

namespace
{

double _rest_of_row(const double* a, const double* b, int32_t count, double start)
{
    for (int32_t i = 0; i < count; ++i)
        start -= a[i] * b[i];
    return start;
}

bool _decompose(NormalEquations* equations)
{
    auto& l = equations->matrix;
    for (int32_t i = 0; i < equations->unknowns; ++i) {
        for (int32_t j = 0; j < i; ++j)
            l[i][j] = _rest_of_row(l[i], l[j], j, l[i][j]) / l[j][j];
        const double square = _rest_of_row(l[i], l[i], i, l[i][i]);
        if (!(square > 0.0))
            return false;
        l[i][i] = std::sqrt(square);
    }
    return true;
}

}  // namespace

void clear_equations(NormalEquations* equations, int32_t unknowns)
{
    equations->unknowns = unknowns;
    for (int32_t i = 0; i < unknowns; ++i)
        std::fill_n(equations->matrix[i], unknowns, 0.0);
    std::fill_n(equations->right, unknowns, 0.0);
}

bool solve_equations(NormalEquations* equations, double* solution)
{
    if (!_decompose(equations))
        return false;
    const auto& l = equations->matrix;
    for (int32_t i = 0; i < equations->unknowns; ++i)
        solution[i] = _rest_of_row(l[i], solution, i, equations->right[i]) / l[i][i];
    for (int32_t i = equations->unknowns - 1; i >= 0; --i) {
        double rest = solution[i];
        for (int32_t j = i + 1; j < equations->unknowns; ++j)
            rest -= l[j][i] * solution[j];
        solution[i] = rest / l[i][i];
    }
    return true;
}

}  // namespace ozr::refined
