#include "refined/patch_aim.h"

#include <algorithm>

#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

// The shape of a patch is taken from the map at places this many base pixels off.
constexpr double kShapeStep = 8.0;

LevelFrame _frame(const Sight& sight, int32_t level)
{
    const ConstPlane& full = sight.pyramid.levels[0];
    const double scale = 2.0 * sight.base_scale();
    const double to_level = level < 0 ? 1 << -level : 1.0 / static_cast<double>(1 << level);
    return {to_level, full.width / scale, full.height / scale};
}

// How the logarithm of the light that the lens leaves changes with a pixel of a level.
Place _light_slope(const LevelFrame& frame, const Falloff& falloff, Place place)
{
    const double corner = frame.middle_x * frame.middle_x + frame.middle_y * frame.middle_y;
    const double spread = (place.x * place.x + place.y * place.y) / corner;
    const double slope = -2.0 * (falloff.first + 2.0 * falloff.second * spread) / (corner * frame.scale);
    return {slope * place.x, slope * place.y};
}

}  // namespace

PatchAim::PatchAim(const SightPair& sights, const LensPair& lenses) : sights_(sights), lenses_(lenses)
{
    for (int32_t i = 0; i < kLevels; ++i) {
        first_frames_[i] = _frame(sights.first, i + kFinestLevel);
        second_frames_[i] = _frame(sights.second, i + kFinestLevel);
    }
}

bool PatchAim::shows(Place first) const
{
    Place shown = {};
    return place_in_second(lenses_, first, &shown) && second_frame(0).holds(shown);
}

Place PatchAim::whole_place(int32_t level, const PatchTask& task) const
{
    return first_frame(level).from_level(task.first_x, task.first_y);
}

// How the map turns and stretches the surroundings of a place.
bool PatchAim::shape_at(Place first, Place second, PatchShape* shape) const
{
    Place right = {};
    Place down = {};
    if (!place_in_second(lenses_, {first.x + kShapeStep, first.y}, &right) ||
        !place_in_second(lenses_, {first.x, first.y + kShapeStep}, &down))
        return false;
    *shape = {(right.x - second.x) / kShapeStep, (right.y - second.y) / kShapeStep,
              (down.x - second.x) / kShapeStep, (down.y - second.y) / kShapeStep};
    return true;
}

bool PatchAim::aim(Place first, Place off, int32_t level, PatchTask* task) const
{
    const Place at = first_frame(level).at_level(first);
    task->first_plane = &sights_.first.plane(level);
    task->second_plane = &sights_.second.plane(level);
    task->first_x = nearest_int(at.x);
    task->first_y = nearest_int(at.y);
    const Place whole = whole_place(level, *task);
    Place second = {};
    if (!place_in_second(lenses_, whole, &second) || !shape_at(whole, second, &task->shape))
        return false;
    const Place expected = second_frame(level).at_level({second.x + off.x, second.y + off.y});
    task->second_x = expected.x;
    task->second_y = expected.y;
    return true;
}

Place PatchAim::off(int32_t level, const PatchTask& task) const
{
    Place foretold = {};
    place_in_second(lenses_, whole_place(level, task), &foretold);
    const Place found = second_frame(level).from_level(task.second_x, task.second_y);
    return {found.x - foretold.x, found.y - foretold.y};
}

Match PatchAim::found(int32_t level, const PatchTask& task) const
{
    return {whole_place(level, task), second_frame(level).from_level(task.second_x, task.second_y)};
}

PatchFade PatchAim::fade(int32_t level, const PatchTask& task) const
{
    if (lenses_.falloff.is_none())
        return {0.0, 0.0};
    const Match match = found(level, task);
    const Place first = _light_slope(first_frame(level), lenses_.falloff, match.first);
    const Place second = _light_slope(second_frame(level), lenses_.falloff, match.second);
    const PatchShape& shape = task.shape;
    return {std::clamp(shape.right_x * second.x + shape.right_y * second.y - first.x, -kMostFade, kMostFade),
            std::clamp(shape.down_x * second.x + shape.down_y * second.y - first.y, -kMostFade, kMostFade)};
}

}  // namespace ozr::refined
