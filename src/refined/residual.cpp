#include "refined/residual.h"

#include "refined/angles.h"

namespace ozr::refined
{

namespace
{

// As in place_in_second: beyond this nothing shows.
constexpr double kLeastAhead = 0.1;
constexpr double kFarOff = 1e12;

// The slopes of a straight place (U, V) = (q.x / q.z, q.y / q.z) by a change of q.
struct StraightSlope {
    double x;
    double y;
};

StraightSlope _by_change(Vector change, Place straight, double depth)
{
    return {(change.x - straight.x * change.z) / depth, (change.y - straight.y * change.z) / depth};
}

// From straight places to picture places, for changes: along the radius by 1 / stretch, across it
// by 1 / scale.
struct Bending {
    double xx;
    double xy;
    double yy;
};

Bending _bending(const BentPlace& bent, double focal)
{
    const double square = bent.place.x * bent.place.x + bent.place.y * bent.place.y;
    const double across = 1.0 / bent.scale;
    if (square == 0.0)
        return {focal * across, 0.0, focal * across};
    const double more = (1.0 / bent.stretch - across) / square;
    return {focal * (across + more * bent.place.x * bent.place.x), focal * more * bent.place.x * bent.place.y,
            focal * (across + more * bent.place.y * bent.place.y)};
}

}  // namespace

LinkView link_view(const Lenses& lenses, int32_t first, int32_t second)
{
    return {lenses.rotations[first],
            lenses.rotations[second],
            lenses.focal * exponential(lenses.zooms[first]),
            lenses.focal * exponential(lenses.zooms[second]),
            lenses.radial,
            lenses.skews[first],
            lenses.skews[second]};
}

bool residual_of(const LinkView& view, const Match& match, LensFreedom freedom, Residual* residual)
{
    const Place seen =
        unskewed_place({match.first.x / view.first_focal, match.first.y / view.first_focal}, view.first_skew);
    const double square = seen.x * seen.x + seen.y * seen.y;
    const Place line = straightened_place(seen, view.radial);
    const Vector world = view.first.turn({line.x, line.y, 1.0});
    const Vector ray = view.second.turn_back(world);
    if (ray.z < kLeastAhead)
        return false;
    const Place straight = {ray.x / ray.z, ray.y / ray.z};
    const BentPlace bent = bent_place(straight, view.radial);
    const Bending bending = _bending(bent, view.second_focal);
    const Place shown = skewed_place(bent.place, view.second_skew);
    residual->x = view.second_focal * shown.x - match.second.x;
    residual->y = view.second_focal * shown.y - match.second.y;

    const auto take = [&](Vector change, double* slope_x, double* slope_y) {
        const StraightSlope s = _by_change(change, straight, ray.z);
        *slope_x = bending.xx * s.x + bending.xy * s.y;
        *slope_y = bending.xy * s.x + bending.yy * s.y;
    };
    // By a change of the place in the first picture, before its lens.
    const auto take_seen = [&](Place change, double* slope_x, double* slope_y) {
        const double d = 1.0 + view.radial * square;
        const double along = 2.0 * view.radial * (seen.x * change.x + seen.y * change.y);
        take(view.second.turn_back(
                 view.first.turn({d * change.x + along * seen.x, d * change.y + along * seen.y, 0.0})),
             slope_x, slope_y);
    };
    Slope* x = &residual->slope_x;
    Slope* y = &residual->slope_y;
    for (int32_t axis = 0; axis < 3; ++axis) {
        const Vector about = {axis == 0 ? 1.0 : 0.0, axis == 1 ? 1.0 : 0.0, axis == 2 ? 1.0 : 0.0};
        take(view.second.turn_back(cross(about, world)), &x->turn[axis], &y->turn[axis]);
    }
    take_seen({-seen.x, -seen.y}, &x->first_zoom, &y->first_zoom);
    x->second_zoom = view.second_focal * shown.x;
    y->second_zoom = view.second_focal * shown.y;
    if (freedom == kLensOfPair)
        return true;
    take(view.second.turn_back(view.first.turn({square * seen.x, square * seen.y, 0.0})), &x->radial,
         &y->radial);
    // The second lens bends back: r (1 + k1 r^2) stays what it is while k1 grows.
    const double bent_square = bent.place.x * bent.place.x + bent.place.y * bent.place.y;
    const double back = -view.second_focal * bent_square / bent.stretch;
    x->radial += back * bent.place.x;
    y->radial += back * bent.place.y;
    if (freedom == kLensOfSweep)
        return true;
    take_seen({-seen.x, seen.y}, &x->first_skew[0], &y->first_skew[0]);
    take_seen({-seen.y, -seen.x}, &x->first_skew[1], &y->first_skew[1]);
    x->second_skew[0] = view.second_focal * bent.place.x;
    y->second_skew[0] = -view.second_focal * bent.place.y;
    x->second_skew[1] = view.second_focal * bent.place.y;
    y->second_skew[1] = view.second_focal * bent.place.x;
    return true;
}

double squared_distance(const LensPair& lenses, const Match& match)
{
    Place shown = {};
    if (!place_in_second(lenses, match.first, &shown))
        return kFarOff;
    const double x = shown.x - match.second.x;
    const double y = shown.y - match.second.y;
    return x * x + y * y;
}

}  // namespace ozr::refined
