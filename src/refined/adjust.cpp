// Levenberg's and Marquardt's method on dense normal equations: there are at most 62 unknowns.
#include "refined/adjust.h"

#include <stddef.h>

#include <algorithm>
#include <cmath>

#include "image/pano_result.h"
#include "refined/angles.h"
#include "refined/normal_equations.h"
#include "refined/residual.h"
#include "support/buffer.h"

namespace ozr::refined
{

namespace
{

// The weights' width shrinks step by step, base pixels: a bad start is still pulled in, a wrong
// match ends without a say.
struct Stage {
    double width;
    int32_t steps;
};
constexpr Stage kPlainStages[] = {{16.0, 12}, {8.0, 8}, {4.0, 6}, {2.0, 8}};
constexpr Stage kFreeStages[] = {{4.0, 6}, {2.0, 6}, {1.0, 24}};

// A last, narrow one where most matches are that close: what is a little off then is wrong rather
// than rolled or shaken.
constexpr Stage kLastStage = {0.5, 4};
constexpr double kSharpResidual = 0.2;  // base pixels, root mean square

// Where matches are less close, pictures may be skewed, if that leaves so much less.
constexpr double kSkewPays = 0.8;

// What is known of lenses without looking: deviations that two thirds of all stay within, against
// matches that are good to kMatchNoise. A pair alone is told to have a plain lens.
constexpr double kMatchNoise = 0.3;      // base pixels
constexpr double kFocalDeviation = 0.3;  // of ln(focal / assumed)
constexpr double kZoomDeviation = 0.01;
constexpr double kRadialDeviation = 0.1;
constexpr double kSkewDeviation = 0.01;
constexpr double kRigid = 1e-4;

// Focal lengths are tried in this order, times the assumed one, while no try fits.
constexpr double kFocalTries[] = {1.0, 1.3, 0.77, 1.7, 0.6, 2.2};

// A try fits when so many of its matches are near.
constexpr double kFittingShare = 0.6;

constexpr double kFirstDamping = 1e-4;
constexpr double kDampingStep = 8.0;
constexpr double kLastDamping = 1e4;
constexpr double kDone = 1e-6;  // relative gain of a step that ends a stage

// One camera is held where it is: turning all together changes nothing.
constexpr double kHeld = 1e12;
constexpr double kRidge = 1e-9;  // keeps unknowns that nothing depends on at rest

// Unknowns of a picture: three of its turn, one of its zoom; and two of its skew.
constexpr int32_t kPictureUnknowns = 4;
constexpr int32_t kSkewUnknowns = 2;

// Unknowns of one match, in this order: turns of both, focal length; zooms of both, radial term;
// skews of both. The freer the lens, the more of them count.
constexpr int32_t kMatchUnknowns = 14;
constexpr int32_t kUnknownsOfFreedom[] = {7, 10, kMatchUnknowns};

// The second picture's turn changes a match by the opposite of what the first one's does, so that
// sums are kept of the first one's alone.
constexpr int32_t kTurnUnknowns = 3;
constexpr int32_t kSumUnknowns = kMatchUnknowns - kTurnUnknowns;
constexpr int32_t kSumWidth = kSumUnknowns + 1;  // even: numbers are added two at a time

// A task with the places of its unknowns.
struct Problem : AdjustTask {
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

    int32_t match_unknowns() const { return kUnknownsOfFreedom[freedom]; }
};

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

void _scatter(const Problem& problem, const Link& link, const LinkEquations& part, NormalEquations* all)
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
    for (int32_t i = 0; i < problem.match_unknowns(); ++i) {
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
                 NormalEquations* equations)
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
double _add_prior(NormalEquations* equations, int32_t index, double value, double deviation)
{
    const double weight = kMatchNoise * kMatchNoise / (deviation * deviation);
    equations->matrix[index][index] += weight;
    equations->right[index] -= weight * value;
    return weight * value * value;
}

double _add_priors(const Problem& problem, const Lenses& lenses, NormalEquations* equations)
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

// The equations at these cameras, and their robust cost.
double _set_up(const Problem& problem, const Lenses& lenses, double width, NormalEquations* equations)
{
    clear_equations(equations, problem.unknowns());
    double cost = 0.0;
    for (int32_t i = 0; i < problem.count; ++i)
        cost += _add_link(problem, problem.links[i], lenses, width, equations);
    return cost + _add_priors(problem, lenses, equations);
}

bool _step(const NormalEquations& equations, double damping, NormalEquations* scratch, double* step)
{
    *scratch = equations;
    for (int32_t i = 0; i < scratch->unknowns; ++i)
        scratch->matrix[i][i] += damping * scratch->matrix[i][i] + kRidge;
    return solve_equations(scratch, step);
}

Lenses _moved(const Problem& problem, const Lenses& lenses, const double* step)
{
    Lenses moved = lenses;
    for (int32_t i = 0; i < problem.pictures; ++i) {
        const double* own = step + Problem::turn_index(i);
        moved.rotations[i] = squared(rotation_about({own[0], own[1], own[2]}) * lenses.rotations[i]);
        moved.zooms[i] += step[Problem::zoom_index(i)];
        if (problem.freedom != kShutterToo)
            continue;
        moved.skews[i].stretch += step[problem.skew_index(i)];
        moved.skews[i].shear += step[problem.skew_index(i) + 1];
    }
    // A single step changes the focal length by half at most: beyond that the
    // equations tell nothing.
    const double by = std::clamp(step[problem.focal_index()], -0.5, 0.5);
    moved.focal *= exponential(by);
    moved.radial = std::clamp(moved.radial + step[problem.radial_index()], -0.5, 0.5);
    return moved;
}

// Two sets of equations and a copy to decompose, too large together for the stack of
// a small thread.
struct Workspace {
    NormalEquations here;
    NormalEquations there;
    NormalEquations scratch;
};

struct Descent {
    Problem problem;
    const Cancel& cancel;
    Workspace* work;
};

// Descends at one width of the weights; `reached_cost` is where it ends.
PanoResult _descend(const Descent& descent, const Stage& stage, Lenses* lenses, double* reached_cost)
{
    const Problem& problem = descent.problem;
    Workspace* work = descent.work;
    double damping = kFirstDamping;
    double& cost = *reached_cost;
    cost = _set_up(problem, *lenses, stage.width, &work->here);
    for (int32_t i = 0; i < stage.steps && damping < kLastDamping; ++i) {
        if (descent.cancel.asked())
            return kPanoCancelled;
        double step[kMaxUnknowns];
        if (!_step(work->here, damping, &work->scratch, step)) {
            damping *= kDampingStep;
            continue;
        }
        const Lenses moved = _moved(problem, *lenses, step);
        const double reached = _set_up(problem, moved, stage.width, &work->there);
        if (!(reached < cost)) {
            damping *= kDampingStep;
            continue;
        }
        const bool done = cost - reached < kDone * cost;
        *lenses = moved;
        cost = reached;
        std::swap(work->here, work->there);
        damping /= kDampingStep;
        if (done)
            break;
    }
    return kPanoSuccess;
}

template <size_t kCount>
PanoResult _descend_all(const Descent& descent, const Stage (&stages)[kCount], Lenses* lenses, double* cost)
{
    for (const Stage& stage : stages)
        PANO_FORWARD(_descend(descent, stage, lenses, cost));
    return kPanoSuccess;
}

double _mean_residual(const Problem& problem, const Lenses& lenses)
{
    double sum = 0.0;
    for (int32_t i = 0; i < problem.count; ++i)
        sum += agreement_of(problem.links[i], lenses).residual;
    return sum / problem.count;
}

// Lets pictures be skewed, and keeps that where it explains much of what the cameras
// alone left over.
PanoResult _descend_skewed(const Descent& descent, Lenses* lenses)
{
    Descent freer = descent;
    freer.problem.freedom = kShutterToo;
    Lenses skewed = *lenses;
    double cost = 0.0;
    PANO_FORWARD(_descend_all(freer, kFreeStages, &skewed, &cost));
    if (_mean_residual(descent.problem, skewed) < kSkewPays * _mean_residual(descent.problem, *lenses))
        *lenses = skewed;
    return kPanoSuccess;
}

PanoResult _descend_free(const Descent& descent, Lenses* lenses)
{
    double cost = 0.0;
    PANO_FORWARD(_descend_all(descent, kFreeStages, lenses, &cost));
    if (_mean_residual(descent.problem, *lenses) >= kSharpResidual)
        return _descend_skewed(descent, lenses);
    return _descend(descent, kLastStage, lenses, &cost);
}

// A bent lens and another focal length explain much the same: the plain lens comes first.
Problem _plain(const AdjustTask& task)
{
    Problem plain = {task};
    plain.freedom = kLensOfPair;
    return plain;
}

// Cameras as the guesses have them, from link to link.
void _start(const Problem& problem, double focal, Lenses* lenses)
{
    *lenses = {};
    lenses->focal = focal;
    bool reached[kMaxPictures] = {};
    for (int32_t i = 0; i < problem.pictures; ++i)
        lenses->rotations[i] = kNoRotation;
    reached[problem.links[0].first] = true;
    // Links come in no particular order; each round reaches one picture more or ends the walk.
    for (bool walked = true; walked;) {
        walked = false;
        for (int32_t i = 0; i < problem.count; ++i) {
            const Link& link = problem.links[i];
            if (reached[link.first] == reached[link.second])
                continue;
            const Rotation turn = turn_of_guess(link.guess, focal);
            if (reached[link.first])
                lenses->rotations[link.second] = lenses->rotations[link.first] * inverse(turn);
            else
                lenses->rotations[link.first] = lenses->rotations[link.second] * turn;
            reached[link.first] = reached[link.second] = walked = true;
        }
    }
}

// Share of all matches that are near, from 0 to 1.
double _near_share(const Problem& problem, const Lenses& lenses)
{
    int32_t near = 0;
    int32_t all = 0;
    for (int32_t i = 0; i < problem.count; ++i) {
        near += agreement_of(problem.links[i], lenses).near;
        all += problem.links[i].count;
    }
    return all > 0 ? static_cast<double>(near) / all : 0.0;
}

// The frame of a line of sight: to the right along the horizon, down, ahead.
Rotation _frame(Place place, double focal)
{
    const Vector ahead = unit({place.x / focal, place.y / focal, 1.0});
    const Vector right = unit({1.0, 0.0, -place.x / focal});
    const Vector down = cross(ahead, right);
    return {{right.x, down.x, ahead.x, right.y, down.y, ahead.y, right.z, down.z, ahead.z}};
}

}  // namespace

Rotation turn_of_guess(const PairGuess& guess, double focal)
{
    // The second camera as if it were upright, then rolled.
    const SineCosine roll = sine_cosine(guess.roll);
    const Place upright = {roll.cosine * guess.second.x + roll.sine * guess.second.y,
                           roll.cosine * guess.second.y - roll.sine * guess.second.x};
    return rotation_about({0.0, 0.0, guess.roll}) * _frame(upright, focal) *
           inverse(_frame(guess.first, focal));
}

double roll_of_turn(const Rotation& turn, Place first, double focal)
{
    const Vector right = (turn * _frame(first, focal)).column(0);
    return arctangent(right.y, right.x);
}

LensPair lens_pair(const Lenses& lenses, int32_t first, int32_t second)
{
    const LinkView view = link_view(lenses, first, second);
    return {inverse(view.second) * view.first,
            view.first_focal,
            view.second_focal,
            view.radial,
            view.first_skew,
            view.second_skew};
}

Agreement agreement_of(const Link& link, const Lenses& lenses)
{
    const LensPair pair = lens_pair(lenses, link.first, link.second);
    Agreement agreement = {};
    double sum = 0.0;
    for (int32_t i = 0; i < link.count; ++i) {
        const double square = squared_distance(pair, link.matches[i]);
        if (square > kNearPixels * kNearPixels)
            continue;
        sum += square;
        ++agreement.near;
    }
    if (agreement.near > 0)
        agreement.residual = std::sqrt(sum / agreement.near);
    return agreement;
}

PanoResult adjust(const AdjustTask& task, const Cancel& cancel, Lenses* lenses)
{
    const auto work = make_unfilled_buffer<Workspace>(1);
    if (!work)
        return kPanoNoMemory;
    const Descent plain = {_plain(task), cancel, work.get()};
    double best = -1.0;
    for (const double factor : kFocalTries) {
        Lenses tried;
        double cost = 0.0;
        _start(plain.problem, factor * task.assumed_focal, &tried);
        PANO_FORWARD(_descend_all(plain, kPlainStages, &tried, &cost));
        if (best < 0.0 || cost < best) {
            best = cost;
            *lenses = tried;
        }
        if (_near_share(plain.problem, tried) >= kFittingShare)
            break;
    }
    return task.freedom == kLensOfPair ? kPanoSuccess : _descend_free({{task}, cancel, work.get()}, lenses);
}

PanoResult adjust_further(const AdjustTask& task, const Cancel& cancel, Lenses* lenses)
{
    const auto work = make_unfilled_buffer<Workspace>(1);
    if (!work)
        return kPanoNoMemory;
    // Again from a plain lens: how much the last one was bent may be what misled the matches.
    double cost = 0.0;
    lenses->radial = 0.0;
    for (int32_t i = 0; i < task.pictures; ++i) {
        lenses->zooms[i] = 0.0;
        lenses->skews[i] = {};
    }
    PANO_FORWARD(_descend_all({_plain(task), cancel, work.get()}, kPlainStages, lenses, &cost));
    return _descend_free({{task}, cancel, work.get()}, lenses);
}

}  // namespace ozr::refined
