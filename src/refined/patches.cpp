// The overlap is divided into cells; in each, the place of the first picture that is best to hold
// on to is looked for in the second, from coarse levels to fine ones.
#include "refined/patches.h"

#include <algorithm>
#include <cmath>

#include "image/pano_result.h"
#include "refined/elementary.h"
#include "refined/patch_fit.h"
#include "refined/patch_search.h"

namespace ozr::refined
{

namespace
{

// Patches looked for over the overlap. Twice as many measure no better.
constexpr int32_t kPatches = 90;
constexpr int32_t kLeastCell = 3;  // corner windows to a side: a patch is no wider
constexpr int32_t kFewMatches = 30;

// The share of the first picture that shows in the second is counted on this many places to a side.
constexpr int32_t kShareSide = 12;

// Correlation that a patch must reach at two levels above the base, one above it, and
// after the fit.
constexpr double kLeastCorrelation[kSearchLevels + 1] = {0.70, 0.50, 0.40};
constexpr int32_t kReach[kSearchLevels + 1] = {2, 2, 4};
constexpr int32_t kReachBase = 3;  // where only the base is searched

// Matches are measured at the base, then once more one level below it, where there is one.
constexpr int32_t kFinest = -1;
constexpr int32_t kLevels = kSearchLevels + 1 - kFinest;

// A fit may drift so far from where it starts, in pixels of its level: further off
// lies something else.
constexpr double kBaseDrift = 2.5;
constexpr double kFinestDrift = 1.5;

// The shape of a patch is taken from the map at places so many base pixels off.
constexpr double kShapeStep = 8.0;

// The overlap is compared at the highest of the search's levels that has so many pixels: noise is
// small there, and a lens that is a little off does no harm.
constexpr int32_t kLikenessPixels = 8000;

// Patches count by their contrast, up to deviations of four grey levels: a horizon is not to
// outweigh all else.
constexpr double kFullContrast = (4.0 * kSampleOne) * (4.0 * kSampleOne) * kSearchSide * kSearchSide;
constexpr int32_t kLeastPatches = 6;

// Places of a level and places from the middle of a picture, in base pixels.
struct LevelFrame {
    double scale;  // level pixels to a base pixel
    double middle_x;
    double middle_y;

    Place at_level(Place p) const { return {(p.x + middle_x) * scale - 0.5, (p.y + middle_y) * scale - 0.5}; }
    Place from_level(double x, double y) const
    {
        return {(x + 0.5) / scale - middle_x, (y + 0.5) / scale - middle_y};
    }
};

LevelFrame _frame(const Sight& sight, int32_t above_base)
{
    const ConstPlane& full = sight.pyramid.levels[0];
    const double scale = 2.0 * sight.base_scale();
    const double to_level = above_base < 0 ? 1 << -above_base : 1.0 / static_cast<double>(1 << above_base);
    return {to_level, full.width / scale, full.height / scale};
}

bool _shows(const Sight& second, Place place)
{
    const LevelFrame frame = _frame(second, 0);
    return place.x > -frame.middle_x && place.x < frame.middle_x && place.y > -frame.middle_y &&
           place.y < frame.middle_y;
}

// Share of the first picture that shows in the second.
double _share(const SightPair& sights, const LensPair& lenses)
{
    const LevelFrame frame = _frame(sights.first, 0);
    int32_t inside = 0;
    for (int32_t j = 0; j < kShareSide; ++j) {
        for (int32_t i = 0; i < kShareSide; ++i) {
            const Place place = {frame.middle_x * ((2 * i + 1.0) / kShareSide - 1.0),
                                 frame.middle_y * ((2 * j + 1.0) / kShareSide - 1.0)};
            Place shown = {};
            inside += place_in_second(lenses, place, &shown) && _shows(sights.second, shown) ? 1 : 0;
        }
    }
    return static_cast<double>(inside) / (kShareSide * kShareSide);
}

// One search over the overlap of two pictures.
struct Search {
    const SightPair& sights;
    const LensPair& lenses;
    LevelFrame first_frames[kLevels];
    LevelFrame second_frames[kLevels];

    Search(const SightPair& s, const LensPair& l) : sights(s), lenses(l)
    {
        for (int32_t i = 0; i < kLevels; ++i) {
            first_frames[i] = _frame(s.first, i + kFinest);
            second_frames[i] = _frame(s.second, i + kFinest);
        }
    }

    // Levels above the base; -1 is below it.
    const LevelFrame& first_frame(int32_t level) const { return first_frames[level - kFinest]; }
    const LevelFrame& second_frame(int32_t level) const { return second_frames[level - kFinest]; }
};

// The middle of a corner window, from the middle of the picture.
Place _window_place(const Search& search, int32_t column, int32_t row)
{
    const double x = 1 + column * kCornerStep + 0.5 * (kCornerWindow - 1);
    const double y = 1 + row * kCornerStep + 0.5 * (kCornerWindow - 1);
    return search.first_frame(1).from_level(x, y);
}

// How the map turns and stretches the surroundings of a place. False at the edge of what
// can be seen.
bool _shape_at(const LensPair& lenses, Place first, Place second, PatchShape* shape)
{
    Place right = {};
    Place down = {};
    if (!place_in_second(lenses, {first.x + kShapeStep, first.y}, &right) ||
        !place_in_second(lenses, {first.x, first.y + kShapeStep}, &down))
        return false;
    *shape = {(right.x - second.x) / kShapeStep, (right.y - second.y) / kShapeStep,
              (down.x - second.x) / kShapeStep, (down.y - second.y) / kShapeStep};
    return true;
}

// Sets the task up for a level: the nearest whole pixel of the first picture, and where that is
// expected in the second, which the levels above have moved by `off` (base pixels).
bool _aim(const Search& search, Place first, Place off, int32_t level, PatchTask* task)
{
    const Place at = search.first_frame(level).at_level(first);
    task->first_plane = &search.sights.first.plane(level);
    task->second_plane = &search.sights.second.plane(level);
    task->first_x = nearest_int(at.x);
    task->first_y = nearest_int(at.y);
    const Place whole = search.first_frame(level).from_level(task->first_x, task->first_y);
    Place second = {};
    if (!place_in_second(search.lenses, whole, &second) ||
        !_shape_at(search.lenses, whole, second, &task->shape))
        return false;
    const Place expected = search.second_frame(level).at_level({second.x + off.x, second.y + off.y});
    task->second_x = expected.x;
    task->second_y = expected.y;
    return true;
}

// How far the task has moved from where the map alone sees it, in base pixels.
Place _off(const Search& search, int32_t level, const PatchTask& task)
{
    const Place whole = search.first_frame(level).from_level(task.first_x, task.first_y);
    Place foretold = {};
    place_in_second(search.lenses, whole, &foretold);
    const Place found = search.second_frame(level).from_level(task.second_x, task.second_y);
    return {found.x - foretold.x, found.y - foretold.y};
}

// The places of a task that has been fitted.
Match _found(const Search& search, int32_t level, const PatchTask& task)
{
    return {search.first_frame(level).from_level(task.first_x, task.first_y),
            search.second_frame(level).from_level(task.second_x, task.second_y)};
}

// How the logarithm of the light that the lens leaves changes with a pixel of a level.
Place _light_slope(const LevelFrame& frame, const Falloff& falloff, Place place)
{
    const double corner = frame.middle_x * frame.middle_x + frame.middle_y * frame.middle_y;
    const double spread = (place.x * place.x + place.y * place.y) / corner;
    const double slope = -2.0 * (falloff.first + 2.0 * falloff.second * spread) / (corner * frame.scale);
    return {slope * place.x, slope * place.y};
}

PatchFade _fade(const Search& search, int32_t level, const PatchTask& task)
{
    const Match match = _found(search, level, task);
    const Falloff& falloff = search.lenses.falloff;
    const Place first = _light_slope(search.first_frame(level), falloff, match.first);
    const Place second = _light_slope(search.second_frame(level), falloff, match.second);
    const PatchShape& shape = task.shape;
    return {std::clamp(shape.right_x * second.x + shape.right_y * second.y - first.x, -kMostFade, kMostFade),
            std::clamp(shape.down_x * second.x + shape.down_y * second.y - first.y, -kMostFade, kMostFade)};
}

// Fits a task that is aimed. False where it comes to nothing.
bool _fit(const Search& search, int32_t level, PatchTask* task)
{
    const PatchFade fade =
        search.lenses.falloff.is_none() ? PatchFade{0.0, 0.0} : _fade(search, level, *task);
    return fit_patch(task, fade, level < 0 ? kFinestDrift : kBaseDrift) >= kLeastCorrelation[0];
}

// Replaces a match by a finer one near it, where the pictures are sharp enough for that.
void _sharpen(const Search& search, Place off, Match* match)
{
    PatchTask task = {};
    if (search.sights.first.base + kFinest < 0 || !_aim(search, match->first, off, kFinest, &task) ||
        !_fit(search, kFinest, &task))
        return;
    *match = _found(search, kFinest, task);
}

bool _match(const Search& search, Place first, PatchSearch kind, Match* match)
{
    PatchTask task = {};
    Place off = {0.0, 0.0};
    const int32_t top = kind == kSearchWide ? kSearchLevels : 0;
    for (int32_t level = top; level >= (kind == kSearchWide ? 1 : 0); --level) {
        if (!_aim(search, first, off, level, &task) ||
            search_patch(&task, level == 0 ? kReachBase : kReach[level]) <
                kLeastCorrelation[std::max(level, 1)])
            return false;
        off = _off(search, level, task);
    }
    if (!_aim(search, first, off, 0, &task) || !_fit(search, 0, &task))
        return false;
    *match = _found(search, 0, task);
    _sharpen(search, _off(search, 0, task), match);
    return true;
}

// How the overlap is divided, and what its windows must have.
struct Cells {
    int32_t side;  // corner windows
    float least_strength;
};

// The best window of a cell that shows in the second picture.
bool _best_place(const Search& search, const Cells& cells, int32_t column, int32_t row, Place* best)
{
    const Corners& corners = search.sights.first.corners;
    const int32_t side = cells.side;
    float strength = cells.least_strength;
    for (int32_t j = row; j < std::min(row + side, corners.rows); ++j) {
        for (int32_t i = column; i < std::min(column + side, corners.columns); ++i) {
            if (corners.at(i, j) <= strength)
                continue;
            const Place place = _window_place(search, i, j);
            Place shown = {};
            if (!place_in_second(search.lenses, place, &shown) || !_shows(search.sights.second, shown))
                continue;
            strength = corners.at(i, j);
            *best = place;
        }
    }
    return strength > cells.least_strength;
}

// Cells so large that the overlap holds about kPatches of them.
int32_t _cell_side(const Search& search)
{
    const Corners& corners = search.sights.first.corners;
    const double windows = static_cast<double>(int64_t{corners.columns} * corners.rows);
    const double overlap = windows * _share(search.sights, search.lenses);
    return std::max(static_cast<int32_t>(std::sqrt(overlap / kPatches)), kLeastCell);
}

// kPanoCancelled.
PanoResult _match_cells(const Search& search, const Cells& cells, PatchSearch kind, const Cancel& cancel,
                        Matches* matches)
{
    const Corners& corners = search.sights.first.corners;
    const int32_t side = cells.side;
    matches->count = 0;
    for (int32_t row = 0; row < corners.rows; row += side) {
        if (cancel.asked())
            return kPanoCancelled;
        for (int32_t column = 0; column < corners.columns && matches->count < kMaxMatches; column += side) {
            Place place = {};
            if (_best_place(search, cells, column, row, &place) &&
                _match(search, place, kind, &matches->at[matches->count]))
                ++matches->count;
        }
    }
    return kPanoSuccess;
}

}  // namespace

PanoResult match_patches(const SightPair& sights, const LensPair& lenses, PatchSearch kind,
                         const Cancel& cancel, Matches* matches)
{
    const Search search(sights, lenses);
    const int32_t side = _cell_side(search);
    PANO_FORWARD(_match_cells(search, {side, kWeakCorner}, kind, cancel, matches));
    if (matches->count >= kFewMatches)
        return kPanoSuccess;
    // Where little of the overlap has texture, it is looked at more closely.
    return _match_cells(search, {std::max(side / 2, 1), kFaintCorner}, kind, cancel, matches);
}

void refit_patches(const SightPair& sights, const LensPair& lenses, Matches* matches)
{
    const Search search(sights, lenses);
    const int32_t level = std::max(kFinest, -sights.first.base);
    for (int32_t i = 0; i < matches->count; ++i) {
        Match* match = &matches->at[i];
        Place foretold = {};
        PatchTask task = {};
        if (!place_in_second(lenses, match->first, &foretold))
            continue;
        const Place off = {match->second.x - foretold.x, match->second.y - foretold.y};
        if (_aim(search, match->first, off, level, &task) && _fit(search, level, &task))
            *match = _found(search, level, task);
    }
}

double likeness_of_overlap(const SightPair& sights, const LensPair& lenses)
{
    const Search search(sights, lenses);
    const Sight& first = sights.first;
    int32_t level = kSearchLevels;
    while (level > 0 && int64_t{first.plane(level).width} * first.plane(level).height < kLikenessPixels)
        --level;
    const ConstPlane& plane = first.plane(level);
    double sum = 0.0;
    double all = 0.0;
    int32_t patches = 0;
    for (int32_t y = kSearchSide / 2; y + kSearchSide / 2 < plane.height; y += kSearchSide) {
        for (int32_t x = kSearchSide / 2; x + kSearchSide / 2 < plane.width; x += kSearchSide) {
            PatchTask task = {};
            PatchLikeness likeness = {};
            const Place place = search.first_frame(level).from_level(x, y);
            if (!_aim(search, place, {0.0, 0.0}, level, &task) || !compare_patch(task, &likeness))
                continue;
            ++patches;
            const double contrast = std::sqrt(likeness.first_square * likeness.second_square);
            if (contrast <= 0.0)
                continue;
            const double weight = std::min(contrast, kFullContrast);
            sum += weight * likeness.product / contrast;
            all += weight;
        }
    }
    return patches >= kLeastPatches && all > 0.0 ? sum / all : 0.0;
}

}  // namespace ozr::refined
