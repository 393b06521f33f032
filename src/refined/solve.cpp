// Cameras are found from all pairs of a group, and say in turn which pairs do not fit: what they
// contradict is dropped, and the rest is solved once more.
#include "refined/solve.h"

#include <algorithm>

#include "image/pano_result.h"
#include "refined/adjust.h"
#include "refined/likeness.h"
#include "refined/match_light.h"
#include "refined/straighten.h"

namespace ozr::refined
{

namespace
{

// What was matched with quite another lens in mind is matched anew.
constexpr double kFocalMoved = 0.05;
constexpr double kZoomMoved = 0.01;

// A pair that the others contradict is dropped, and the cameras are found anew; each round drops
// one or more.
constexpr int32_t kRounds = 4;

double _base_focal(const SweepView& view)
{
    return assumed_base_focal(view.sights[0]);
}

Link _link(const Pair& pair)
{
    const PairMatch& match = pair.match;
    return {pair.first, pair.second, match.guess, match.matches.count, match.matches.at};
}

SightPair _sights(const SweepView& view, const Pair& pair)
{
    return {view.sights[pair.first], view.sights[pair.second]};
}

// Marks the largest group of pictures that good pairs join. Returns how many they are.
int32_t _choose_group(const SweepView& view, bool used[kMaxPictures])
{
    int32_t group[kMaxPictures];
    for (int32_t i = 0; i < view.pictures; ++i)
        group[i] = i;
    for (int32_t i = 0; i < view.count; ++i) {
        const Pair& pair = view.pairs[i];
        if (!pair.match.is_good())
            continue;
        const int32_t from = std::max(group[pair.first], group[pair.second]);
        const int32_t to = std::min(group[pair.first], group[pair.second]);
        std::replace(group, group + view.pictures, from, to);
    }
    int32_t best = 0;
    int32_t most = 0;
    for (int32_t i = 0; i < view.pictures; ++i) {
        const int32_t size = static_cast<int32_t>(std::count(group, group + view.pictures, i));
        if (size > most) {
            most = size;
            best = i;
        }
    }
    for (int32_t i = 0; i < view.pictures; ++i)
        used[i] = group[i] == best;
    return most;
}

// The good pairs within the group.
struct Links {
    Link at[kMaxPairs];
    int32_t count = 0;

    Links(const SweepView& view, const bool* used)
    {
        for (int32_t i = 0; i < view.count; ++i) {
            const Pair& pair = view.pairs[i];
            if (pair.match.is_good() && used[pair.first])
                at[count++] = _link(pair);
        }
    }
    AdjustTask task(const SweepView& view) const { return {at, count, view.pictures, _base_focal(view)}; }
};

bool _has_moved(const SweepView& view, const Solution& solution)
{
    const double change = solution.lenses.focal / _base_focal(view) - 1.0;
    bool moved = change > kFocalMoved || change < -kFocalMoved;
    for (int32_t i = 0; i < view.pictures; ++i) {
        const double zoom = solution.lenses.zooms[i];
        moved = moved || (solution.used[i] && (zoom > kZoomMoved || zoom < -kZoomMoved));
    }
    return moved;
}

// Notes how well every pair within the group agrees with the cameras. False if a pair that was good
// no longer is.
bool _review(const SweepView& view, const Solution& solution)
{
    bool all_hold = true;
    for (int32_t i = 0; i < view.count; ++i) {
        Pair& pair = view.pairs[i];
        if (!solution.used[pair.first] || !solution.used[pair.second])
            continue;
        const bool was_good = pair.match.is_good();
        const Agreement agreement = agreement_of(_link(pair), solution.lenses);
        pair.match.near = agreement.near;
        pair.match.residual = agreement.residual;
        pair.match.likeness =
            likeness_of_overlap(_sights(view, pair), lens_pair(solution.lenses, pair.first, pair.second));
        all_hold = all_hold && (pair.match.is_good() || !was_good);
    }
    return all_hold;
}

PanoResult _match_again(const SweepView& view, const Cancel& cancel, Solution* solution)
{
    for (int32_t i = 0; i < view.count; ++i) {
        Pair& pair = view.pairs[i];
        if (!solution->used[pair.first] || !solution->used[pair.second])
            continue;
        PANO_FORWARD(match_pair_again(
            _sights(view, pair), lens_pair(solution->lenses, pair.first, pair.second), cancel, &pair.match));
    }
    _review(view, *solution);
    const Links links(view, solution->used);
    if (links.count == 0)
        return kPanoSuccess;
    PANO_FORWARD(adjust_again(links.task(view), cancel, &solution->lenses));
    return adjust_lens(links.task(view), cancel, &solution->lenses);
}

// Takes what the lens loses of the light towards the corners out of the matches, as far as that is
// known, before the way it bends is found from them.
PanoResult _even_light(const SweepView& view, const Cancel& cancel, Solution* solution)
{
    PANO_FORWARD(find_falloff(view, solution->used, &solution->lenses.falloff));
    for (int32_t i = 0; i < view.count && !solution->lenses.falloff.is_none(); ++i) {
        Pair& pair = view.pairs[i];
        if (cancel.asked())
            return kPanoCancelled;
        if (pair.match.is_good() && solution->used[pair.first])
            refit_patches(_sights(view, pair), lens_pair(solution->lenses, pair.first, pair.second),
                          &pair.match.matches);
    }
    return kPanoSuccess;
}

PanoResult _solve_group(const SweepView& view, const Cancel& cancel, Solution* solution)
{
    const Links links(view, solution->used);
    PANO_FORWARD(adjust(links.task(view), cancel, &solution->lenses));
    PANO_FORWARD(_even_light(view, cancel, solution));
    PANO_FORWARD(adjust_lens(links.task(view), cancel, &solution->lenses));
    if (_has_moved(view, *solution))
        PANO_FORWARD(_match_again(view, cancel, solution));
    return kPanoSuccess;
}

void _single(const SweepView& view, Solution* solution)
{
    solution->lenses = {};
    solution->lenses.focal = _base_focal(view);
    for (int32_t i = 0; i < view.pictures; ++i)
        solution->lenses.rotations[i] = kNoRotation;
}

}  // namespace

PanoResult solve_sweep(const SweepView& view, const Cancel& cancel, Solution* solution)
{
    for (int32_t round = 0; round < kRounds; ++round) {
        if (_choose_group(view, solution->used) < 2) {
            _single(view, solution);
            return kPanoSuccess;
        }
        PANO_FORWARD(_solve_group(view, cancel, solution));
        if (_review(view, *solution))
            break;
    }
    // Of the last round: what it dropped is no longer used, and the cameras of what stays hold.
    _choose_group(view, solution->used);
    straighten(solution->lenses.rotations, solution->used, view.pictures);
    return kPanoSuccess;
}

}  // namespace ozr::refined
