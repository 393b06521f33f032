#include "refined/straighten.h"

#include <algorithm>

#include "base/limits.h"
#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

// A hand rolls a camera by about a degree and tilts it by some ten: the cameras' own uprights may
// deviate from the axis ten times as far as their horizontals from its plane, squares by a hundred.
// It matters where few pictures, close together, fix the axis badly.
constexpr double kUprightWeight = 0.01;

void _add_square(Vector v, double weight, double matrix[9])
{
    const double by[3] = {v.x, v.y, v.z};
    for (int32_t i = 0; i < 9; ++i)
        matrix[i] += weight * by[i / 3] * by[i % 3];
}

// The direction that is most nearly at right angles to all x axes.
Vector _axis(const Rotation* rotations, const bool* used, int32_t count)
{
    double matrix[9] = {};
    Vector upright = {0, 0, 0};
    for (int32_t i = 0; i < count; ++i) {
        if (!used[i])
            continue;
        _add_square(rotations[i].column(0), 1.0, matrix);
        upright = upright + rotations[i].column(1);
    }
    upright = unit(upright);
    _add_square(upright, -kUprightWeight, matrix);
    const Vector axis = least_eigenvector(matrix);
    return dot(axis, upright) < 0.0 ? -1.0 * axis : axis;
}

// Turns everything so that `down` becomes the y axis, and a camera's view, made level, ahead.
Rotation _level(Vector down, Vector view)
{
    const Vector right = unit(cross(down, view));
    const Vector ahead = cross(right, down);
    return {{right.x, right.y, right.z, down.x, down.y, down.z, ahead.x, ahead.y, ahead.z}};
}

double _heading(const Rotation& rotation)
{
    const Vector ahead = rotation.column(2);
    return arctangent(ahead.x, ahead.z);
}

// Of the used cameras, that which looks nearest to the middle of the sweep; `best` if none is used.
double _middle_heading(const Rotation* rotations, const bool* used, int32_t count, double best)
{
    double headings[kMaxPictures] = {};
    double least = 0.0;
    double most = 0.0;
    for (int32_t i = 0; i < count; ++i) {
        headings[i] = _heading(rotations[i]);
        if (used[i]) {
            least = std::min(headings[i], least);
            most = std::max(headings[i], most);
        }
    }
    const double middle = 0.5 * (least + most);
    for (int32_t i = 0; i < count; ++i) {
        const double off = headings[i] - middle, best_off = best - middle;
        if (used[i] && off * off < best_off * best_off)
            best = headings[i];
    }
    return best;
}

}  // namespace

void straighten(Rotation* rotations, const bool* used, int32_t count)
{
    const Vector down = unit(_axis(rotations, used, count));
    // The first used camera may be ahead for the moment.
    const auto is_used = [](bool of_panorama) { return of_panorama; };
    const int32_t first = static_cast<int32_t>(std::find_if(used, used + count - 1, is_used) - used);
    const Rotation level = _level(down, rotations[first].column(2));
    for (int32_t i = 0; i < count; ++i)
        rotations[i] = level * rotations[i];
    const double heading = _middle_heading(rotations, used, count, _heading(rotations[first]));
    const Rotation turn = rotation_about({0.0, -heading, 0.0});
    for (int32_t i = 0; i < count; ++i)
        rotations[i] = squared(turn * rotations[i]);
}

}  // namespace ozr::refined
