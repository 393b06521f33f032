// Levenberg's and Marquardt's method on dense normal equations: there are at most 62 unknowns.
#include "refined/adjust.h"

#include <stddef.h>

#include <algorithm>

#include "refined/adjust_problem.h"
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

// Where matches are less close, pictures may be skewed, if that leaves no more than this share of
// the distances.
constexpr double kSkewPays = 0.8;

// Focal lengths are tried in this order, times the assumed one, while no try fits.
constexpr double kFocalTries[] = {1.0, 1.3, 0.77, 1.7, 0.6, 2.2};

// A try fits when this share of its matches is near.
constexpr double kFittingShare = 0.6;

constexpr double kFirstDamping = 1e-4;
constexpr double kDampingStep = 8.0;
constexpr double kLastDamping = 1e4;
constexpr double kDone = 1e-6;  // relative gain of a step that ends a stage

constexpr double kRidge = 1e-9;  // keeps unknowns that nothing depends on at rest

bool _step(const Equations& equations, double damping, Equations* scratch, double* step)
{
    *scratch = equations;
    for (int32_t i = 0; i < scratch->unknowns; ++i)
        scratch->matrix[i][i] += damping * scratch->matrix[i][i] + kRidge;
    return scratch->solve(step);
}

// Two sets of equations and a copy to decompose, too large together for the stack of
// a small thread.
struct Workspace {
    Equations here;
    Equations there;
    Equations scratch;
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
    Equations *here = &descent.work->here, *there = &descent.work->there;
    double damping = kFirstDamping;
    double& cost = *reached_cost;
    cost = set_up(problem, *lenses, stage.width, here);
    for (int32_t i = 0; i < stage.steps && damping < kLastDamping; ++i) {
        if (descent.cancel.asked())
            return kPanoCancelled;
        double step[kMaxUnknowns];
        if (!_step(*here, damping, &descent.work->scratch, step)) {
            damping *= kDampingStep;
            continue;
        }
        const Lenses moved = after_step(problem, *lenses, step);
        const double reached = set_up(problem, moved, stage.width, there);
        if (!(reached < cost)) {
            damping *= kDampingStep;
            continue;
        }
        const bool done = cost - reached < kDone * cost;
        *lenses = moved;
        cost = reached;
        std::swap(here, there);
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

}  // namespace

// A bent lens and another focal length explain much the same: the plain lens comes first.
PanoResult adjust(const AdjustTask& task, const Cancel& cancel, Lenses* lenses)
{
    const auto work = make_unfilled_buffer<Workspace>(1);
    if (!work)
        return kPanoNoMemory;
    const Descent plain = {{task, kLensOfPair}, cancel, work.get()};
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
    return kPanoSuccess;
}

// Again from a plain lens: how much the last one was bent may be what misled the matches.
PanoResult adjust_again(const AdjustTask& task, const Cancel& cancel, Lenses* lenses)
{
    const auto work = make_unfilled_buffer<Workspace>(1);
    if (!work)
        return kPanoNoMemory;
    lenses->radial = 0.0;
    for (int32_t i = 0; i < task.pictures; ++i) {
        lenses->zooms[i] = 0.0;
        lenses->skews[i] = {};
    }
    double cost = 0.0;
    return _descend_all({{task, kLensOfPair}, cancel, work.get()}, kPlainStages, lenses, &cost);
}

PanoResult adjust_lens(const AdjustTask& task, const Cancel& cancel, Lenses* lenses)
{
    const auto work = make_unfilled_buffer<Workspace>(1);
    if (!work)
        return kPanoNoMemory;
    return _descend_free({{task, kLensOfSweep}, cancel, work.get()}, lenses);
}

}  // namespace ozr::refined
