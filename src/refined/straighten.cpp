#include "refined/straighten.h"

#include "base/limits.h"
#include "refined/angles.h"

namespace ozr::refined
{

namespace
{

// A hand rolls a camera by about a degree and tilts it by some ten: so much more the cameras' own
// uprights may deviate from the axis than their horizontals from its plane. Matters where few
// pictures, close together, fix the axis badly.
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

double _heading(const Rotation& rotation)
{
    return arctangent(rotation.m[2], rotation.m[8]);
}

}  // namespace

void straighten(Rotation* rotations, const bool* used, int32_t count)
{
    const Vector down = unit(_axis(rotations, used, count));
    // Any camera's view, made level, may be ahead for the moment.
    int32_t some = 0;
    while (some + 1 < count && !used[some])
        ++some;
    const Vector right = unit(cross(down, rotations[some].column(2)));
    const Vector ahead = cross(right, down);
    const Rotation level = {{right.x, right.y, right.z, down.x, down.y, down.z, ahead.x, ahead.y, ahead.z}};
    double headings[kMaxPictures] = {};
    double least = 0.0;
    double most = 0.0;
    for (int32_t i = 0; i < count; ++i) {
        rotations[i] = level * rotations[i];
        headings[i] = _heading(rotations[i]);
        if (used[i]) {
            least = headings[i] < least ? headings[i] : least;
            most = headings[i] > most ? headings[i] : most;
        }
    }
    const double middle = 0.5 * (least + most);
    int32_t nearest = some;
    for (int32_t i = 0; i < count; ++i) {
        const double off = headings[i] - middle;
        const double best = headings[nearest] - middle;
        if (used[i] && off * off < best * best)
            nearest = i;
    }
    const Rotation turn = rotation_about({0.0, -headings[nearest], 0.0});
    for (int32_t i = 0; i < count; ++i)
        rotations[i] = squared(turn * rotations[i]);
}

}  // namespace ozr::refined
