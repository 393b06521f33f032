// The overlap is divided into cells; in each, the place of the first picture that is best to hold
// on to is looked for in the second, from coarse levels to fine ones.
#include "refined/patches.h"

#include <algorithm>
#include <cmath>

#include "image/pano_result.h"
#include "refined/patch_aim.h"
#include "refined/patch_search.h"

namespace ozr::refined
{

namespace
{

// Patches looked for over the overlap. Twice as many measure no better.
constexpr int32_t kPatches = 90;
constexpr int32_t kLeastCell = 3;  // corner windows to a side: a patch is no wider

// Below this a window holds no more than the noise of a camera: a mean squared gradient of about
// one level a pixel.
constexpr float kWeakCorner = 60.0F;

// Fainter windows are tried where matches are few: clouds, dunes in haze.
constexpr float kFaintCorner = 15.0F;
constexpr int32_t kFewMatches = 30;

// The share of the first picture that shows in the second is counted on this many places to a side.
constexpr int32_t kShareSide = 12;

// A search at a level, within `reach` pixels, for a correlation of `least`; and that of a good fit.
struct SearchStep {
    int32_t level;
    int32_t reach;
    double least;
};
constexpr SearchStep kWideSteps[] = {{kSearchLevels, 4, 0.40}, {1, 2, 0.50}};
constexpr SearchStep kNearSteps[] = {{0, 3, 0.50}};
constexpr double kLeastFit = 0.70;

// Matches are measured at the base, then once more one level below it, where there is one. A fit
// may drift this far from where it starts, in pixels of its level: further off is something else.
constexpr double kBaseDrift = 2.5;
constexpr double kFinestDrift = 1.5;

// Share of the first picture that shows in the second.
double _share(const PatchAim& aim)
{
    const LevelFrame& frame = aim.first_frame(0);
    int32_t inside = 0;
    for (int32_t j = 0; j < kShareSide; ++j) {
        for (int32_t i = 0; i < kShareSide; ++i) {
            const Place place = {frame.middle_x * ((2 * i + 1.0) / kShareSide - 1.0),
                                 frame.middle_y * ((2 * j + 1.0) / kShareSide - 1.0)};
            inside += aim.shows(place) ? 1 : 0;
        }
    }
    return static_cast<double>(inside) / (kShareSide * kShareSide);
}

// The middle of a corner window, from the middle of the picture.
Place _window_place(const PatchAim& aim, int32_t column, int32_t row)
{
    const double x = 1 + column * kCornerStep + 0.5 * (kCornerWindow - 1);
    const double y = 1 + row * kCornerStep + 0.5 * (kCornerWindow - 1);
    return aim.first_frame(1).from_level(x, y);
}

// Fits a task that is aimed. False where it comes to nothing.
bool _fit(const PatchAim& aim, int32_t level, PatchTask* task)
{
    const double drift = level == kFinestLevel ? kFinestDrift : kBaseDrift;
    return fit_patch(task, aim.fade(level, *task), drift) >= kLeastFit;
}

// Replaces a match by a finer one near it, where the pictures are sharp enough for that.
void _sharpen(const PatchAim& aim, Place off, Match* match)
{
    PatchTask task = {};
    if (aim.first().base + kFinestLevel >= 0 && aim.aim(match->first, off, kFinestLevel, &task) &&
        _fit(aim, kFinestLevel, &task))
        *match = aim.found(kFinestLevel, task);
}

// Searches from step to step; `off` is how far off the lenses the place was found.
template <size_t kCount>
bool _search(const PatchAim& aim, Place first, const SearchStep (&steps)[kCount], Place* off)
{
    *off = {0.0, 0.0};
    for (const SearchStep& step : steps) {
        PatchTask task = {};
        if (!aim.aim(first, *off, step.level, &task) || search_patch(&task, step.reach) < step.least)
            return false;
        *off = aim.off(step.level, task);
    }
    return true;
}

bool _match(const PatchAim& aim, Place first, PatchSearch kind, Match* match)
{
    Place off = {};
    if (!(kind == kSearchWide ? _search(aim, first, kWideSteps, &off)
                              : _search(aim, first, kNearSteps, &off)))
        return false;
    PatchTask task = {};
    if (!aim.aim(first, off, 0, &task) || !_fit(aim, 0, &task))
        return false;
    *match = aim.found(0, task);
    _sharpen(aim, aim.off(0, task), match);
    return true;
}

// How the overlap is divided, and what its windows must have.
struct Cells {
    int32_t side;  // corner windows
    float least_strength;
};

// The best window of a cell that shows in the second picture.
bool _best_place(const PatchAim& aim, const Cells& cells, int32_t column, int32_t row, Place* best)
{
    const Corners& corners = aim.first().corners;
    const int32_t side = cells.side;
    float strength = cells.least_strength;
    for (int32_t j = row; j < std::min(row + side, corners.rows); ++j) {
        for (int32_t i = column; i < std::min(column + side, corners.columns); ++i) {
            if (corners.at(i, j) <= strength)
                continue;
            const Place place = _window_place(aim, i, j);
            if (!aim.shows(place))
                continue;
            strength = corners.at(i, j);
            *best = place;
        }
    }
    return strength > cells.least_strength;
}

// Cells of which the overlap holds about kPatches.
int32_t _cell_side(const PatchAim& aim)
{
    const Corners& corners = aim.first().corners;
    const double windows = static_cast<double>(int64_t{corners.columns} * corners.rows);
    const double overlap = windows * _share(aim);
    return std::max(static_cast<int32_t>(std::sqrt(overlap / kPatches)), kLeastCell);
}

// kPanoCancelled.
PanoResult _match_cells(const PatchAim& aim, const Cells& cells, PatchSearch kind, const Cancel& cancel,
                        Matches* matches)
{
    const Corners& corners = aim.first().corners;
    const int32_t side = cells.side;
    matches->count = 0;
    for (int32_t row = 0; row < corners.rows; row += side) {
        if (cancel.asked())
            return kPanoCancelled;
        for (int32_t column = 0; column < corners.columns && matches->count < kMaxMatches; column += side) {
            Place place = {};
            if (_best_place(aim, cells, column, row, &place) &&
                _match(aim, place, kind, &matches->at[matches->count]))
                ++matches->count;
        }
    }
    return kPanoSuccess;
}

}  // namespace

PanoResult match_patches(const SightPair& sights, const LensPair& lenses, PatchSearch kind,
                         const Cancel& cancel, Matches* matches)
{
    const PatchAim aim(sights, lenses);
    const int32_t side = _cell_side(aim);
    PANO_FORWARD(_match_cells(aim, {side, kWeakCorner}, kind, cancel, matches));
    if (matches->count >= kFewMatches)
        return kPanoSuccess;
    // Where little of the overlap has texture, it is looked at more closely.
    return _match_cells(aim, {std::max(side / 2, 1), kFaintCorner}, kind, cancel, matches);
}

void refit_patches(const SightPair& sights, const LensPair& lenses, Matches* matches)
{
    const PatchAim aim(sights, lenses);
    const int32_t level = std::max(kFinestLevel, -sights.first.base);
    for (int32_t i = 0; i < matches->count; ++i) {
        Match* match = &matches->at[i];
        Place foretold = {};
        PatchTask task = {};
        if (!place_in_second(lenses, match->first, &foretold))
            continue;
        const Place off = {match->second.x - foretold.x, match->second.y - foretold.y};
        if (aim.aim(match->first, off, level, &task) && _fit(aim, level, &task))
            *match = aim.found(level, task);
    }
}

}  // namespace ozr::refined
