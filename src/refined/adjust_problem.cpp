#include "refined/adjust_problem.h"

#include <algorithm>

#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

// What is known of lenses without looking: deviations that two thirds of all stay within, against
// matches that are good to kMatchNoise. Of a pair alone, zooms and radial term are held at 0.
constexpr double kMatchNoise = 0.3;      // base pixels
constexpr double kFocalDeviation = 0.3;  // of ln(focal / assumed)
constexpr double kZoomDeviation = 0.01;
constexpr double kRadialDeviation = 0.1;
constexpr double kSkewDeviation = 0.01;
constexpr double kRigid = 1e-4;

// One camera is held where it is: turning all together changes nothing.
constexpr double kHeld = 1e12;

// Further off, a step's equations, which are linear, do not hold.
constexpr double kMostFocalStep = 0.5;  // of ln(focal)

// Unknowns of one match, in this order: turns of both, focal length; zooms of both, radial term;
// skews of both. The freer the lens, the more of them count.
constexpr int32_t kMatchUnknowns = 14;
constexpr int32_t kUnknownsOfFreedom[] = {7, 10, kMatchUnknowns};

// The second picture's turn changes a match by the opposite of what the first one's does, so that
// sums are kept of the first one's alone.
constexpr int32_t kTurnUnknowns = 3;
constexpr int32_t kSumUnknowns = kMatchUnknowns - kTurnUnknowns;
constexpr int32_t kSumWidth = kSumUnknowns + 1;  // even: numbers are added two at a time

// The slopes of one coordinate, with a 0 behind those that count.
struct Row {
    double at[kSumWidth];
    double residual;

    Row(const Slope& slope, LensFreedom freedom, double residual_of_row) : at{}, residual(residual_of_row)
    {
        for (int32_t i = 0; i < kTurnUnknowns; ++i)
            at[i] = slope.turn[i];
        at[3] = slope.first_zoom + slope.second_zoom;
        if (freedom == kLensOfPair)
            return;
        at[4] = slope.first_zoom;
        at[5] = slope.second_zoom;
        at[6] = slope.radial;
        for (int32_t i = 0; freedom == kShutterToo && i < kSkewUnknowns; ++i) {
            at[7 + i] = slope.first_skew[i];
            at[9 + i] = slope.second_skew[i];
        }
    }
};

// The equations of one link, before its unknowns find their place among all.
struct LinkEquations {
    double matrix[kSumUnknowns][kSumWidth];
    double right[kSumUnknowns];

    // Both coordinates of a match.
    template <int32_t kUnknowns>
    void add(const Row& x, const Row& y, double weight)
    {
        constexpr int32_t kWidth = (kUnknowns + 1) / 2 * 2;
        for (int32_t i = 0; i < kUnknowns; ++i) {
            const double by_x = weight * x.at[i], by_y = weight * y.at[i];
            right[i] = right[i] - by_x * x.residual - by_y * y.residual;
            for (int32_t j = 0; j < kWidth; ++j)
                matrix[i][j] = matrix[i][j] + by_x * x.at[j] + by_y * y.at[j];
        }
    }

    void add(const Row& x, const Row& y, LensFreedom freedom, double weight)
    {
        if (freedom == kLensOfPair)
            add<kUnknownsOfFreedom[kLensOfPair] - kTurnUnknowns>(x, y, weight);
        else if (freedom == kLensOfSweep)
            add<kUnknownsOfFreedom[kLensOfSweep] - kTurnUnknowns>(x, y, weight);
        else
            add<kSumUnknowns>(x, y, weight);
    }
};

// Which sum an unknown of a match has, and its sign there.
struct SumPlace {
    int32_t index;
    double sign;
};

SumPlace _sum_place(int32_t unknown)
{
    return {unknown < kTurnUnknowns ? unknown : unknown - kTurnUnknowns,
            unknown >= kTurnUnknowns && unknown < 2 * kTurnUnknowns ? -1.0 : 1.0};
}

void _scatter(const Problem& problem, const Link& link, const LinkEquations& part, Equations* all)
{
    const int32_t turns[2] = {Problem::turn_index(link.first), Problem::turn_index(link.second)};
    const int32_t skews[2] = {problem.skew_index(link.first), problem.skew_index(link.second)};
    const int32_t place[kMatchUnknowns] = {turns[0],
                                           turns[0] + 1,
                                           turns[0] + 2,
                                           turns[1],
                                           turns[1] + 1,
                                           turns[1] + 2,
                                           problem.focal_index(),
                                           Problem::zoom_index(link.first),
                                           Problem::zoom_index(link.second),
                                           problem.radial_index(),
                                           skews[0],
                                           skews[0] + 1,
                                           skews[1],
                                           skews[1] + 1};
    for (int32_t i = 0; i < kUnknownsOfFreedom[problem.freedom]; ++i) {
        const SumPlace row = _sum_place(i);
        all->right[place[i]] += row.sign * part.right[row.index];
        for (int32_t j = 0; j <= i; ++j) {
            const SumPlace column = _sum_place(j);
            all->matrix[std::max(place[i], place[j])][std::min(place[i], place[j])] +=
                row.sign * column.sign * part.matrix[row.index][column.index];
        }
    }
}

// The robust cost k^2 e^2 / (k^2 + e^2), which no match can raise by more than k^2; its weight is
// (k^2 / (k^2 + e^2))^2.
double _add_link(const Problem& problem, const Link& link, const Lenses& lenses, double width,
                 Equations* equations)
{
    const LinkView view = link_view(lenses, link.first, link.second);
    const LensFreedom freedom = problem.freedom;
    const double square = width * width;
    LinkEquations part = {};
    double cost = 0.0;
    for (int32_t i = 0; i < link.count; ++i) {
        Residual residual;
        if (!residual_of(view, link.matches[i], freedom, &residual)) {
            cost += square;
            continue;
        }
        const double distance = residual.x * residual.x + residual.y * residual.y;
        const double share = square / (square + distance);
        cost += share * distance;
        const Row x(residual.slope_x, freedom, residual.x), y(residual.slope_y, freedom, residual.y);
        part.add(x, y, freedom, share * share);
    }
    _scatter(problem, link, part, equations);
    return cost;
}

// One thing known beforehand about one unknown: it deviates from 0 by about `deviation`.
double _add_prior(Equations* equations, int32_t index, double value, double deviation)
{
    const double weight = kMatchNoise * kMatchNoise / (deviation * deviation);
    equations->matrix[index][index] += weight;
    equations->right[index] -= weight * value;
    return weight * value * value;
}

double _add_priors(const Problem& problem, const Lenses& lenses, Equations* equations)
{
    const bool is_pair = problem.freedom == kLensOfPair;
    double cost = _add_prior(equations, problem.focal_index(),
                             logarithm(lenses.focal / problem.assumed_focal), kFocalDeviation);
    cost += _add_prior(equations, problem.radial_index(), lenses.radial, is_pair ? kRigid : kRadialDeviation);
    for (int32_t i = 0; i < problem.pictures; ++i)
        cost +=
            _add_prior(equations, Problem::zoom_index(i), lenses.zooms[i], is_pair ? kRigid : kZoomDeviation);
    for (int32_t i = 0; problem.freedom == kShutterToo && i < problem.pictures; ++i) {
        cost += _add_prior(equations, problem.skew_index(i), lenses.skews[i].stretch, kSkewDeviation);
        cost += _add_prior(equations, problem.skew_index(i) + 1, lenses.skews[i].shear, kSkewDeviation);
    }
    const int32_t held = Problem::turn_index(problem.links[0].first);
    for (int32_t i = 0; i < 3; ++i)
        equations->matrix[held + i][held + i] += kHeld;
    return cost;
}

}  // namespace

double set_up(const Problem& problem, const Lenses& lenses, double width, Equations* equations)
{
    equations->clear(problem.unknowns());
    double cost = 0.0;
    for (int32_t i = 0; i < problem.count; ++i)
        cost += _add_link(problem, problem.links[i], lenses, width, equations);
    return cost + _add_priors(problem, lenses, equations);
}

Lenses after_step(const Problem& problem, const Lenses& lenses, const double* step)
{
    Lenses after = lenses;
    for (int32_t i = 0; i < problem.pictures; ++i) {
        const double* own = step + Problem::turn_index(i);
        after.rotations[i] = squared(rotation_about({own[0], own[1], own[2]}) * lenses.rotations[i]);
        after.zooms[i] += step[Problem::zoom_index(i)];
        if (problem.freedom != kShutterToo)
            continue;
        after.skews[i].stretch += step[problem.skew_index(i)];
        after.skews[i].shear += step[problem.skew_index(i) + 1];
    }
    const double by = std::clamp(step[problem.focal_index()], -kMostFocalStep, kMostFocalStep);
    after.focal *= exponential(by);
    after.radial = std::clamp(after.radial + step[problem.radial_index()], -kMostRadial, kMostRadial);
    return after;
}

}  // namespace ozr::refined
