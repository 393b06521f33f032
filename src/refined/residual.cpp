// Slopes follow a match through both cameras by the chain rule.
#include "refined/residual.h"

#include <cmath>

namespace ozr::refined
{

namespace
{

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

// A match on its way from the first picture to the second.
struct Passage {
    const LinkView& view;
    Place seen;     // in the first picture, before its lens
    double square;  // of its distance from the middle
    Vector world;   // its line of sight
    double depth;   // of that line for the second camera
    Place straight;
    BentPlace bent;
    Place shown;      // in the second picture
    Bending bending;  // of the second lens

    // What a small change of the second camera's ray changes, in base pixels.
    Place by_ray(Vector change) const
    {
        const Place s = {(change.x - straight.x * change.z) / depth,
                         (change.y - straight.y * change.z) / depth};
        return {bending.xx * s.x + bending.xy * s.y, bending.xy * s.x + bending.yy * s.y};
    }

    // The same of the first camera's ray.
    Place by_first_ray(Vector change) const { return by_ray(view.second.turn_back(view.first.turn(change))); }

    // The same of the place in the first picture, before its lens.
    Place by_seen(Place change) const
    {
        const double d = 1.0 + view.radial * square;
        const double along = 2.0 * view.radial * (seen.x * change.x + seen.y * change.y);
        return by_first_ray({d * change.x + along * seen.x, d * change.y + along * seen.y, 0.0});
    }
};

// False where the second camera looks away.
bool _pass(Place first, Passage* passage)
{
    const LinkView& view = passage->view;
    const Place seen =
        unskewed_place({first.x / view.first_focal, first.y / view.first_focal}, view.first_skew);
    const Place line = straightened_place(seen, view.radial);
    passage->seen = seen;
    passage->square = seen.x * seen.x + seen.y * seen.y;
    passage->world = view.first.turn({line.x, line.y, 1.0});
    const Vector ray = view.second.turn_back(passage->world);
    if (ray.z < kLeastAhead)
        return false;
    passage->depth = ray.z;
    passage->straight = {ray.x / ray.z, ray.y / ray.z};
    passage->bent = bent_place(passage->straight, view.radial);
    passage->shown = skewed_place(passage->bent.place, view.second_skew);
    passage->bending = _bending(passage->bent, view.second_focal);
    return true;
}

void _set(Place slope, double* x, double* y)
{
    *x = slope.x;
    *y = slope.y;
}

void _add_turns(const Passage& passage, Slope* x, Slope* y)
{
    for (int32_t axis = 0; axis < 3; ++axis) {
        const Vector about = {axis == 0 ? 1.0 : 0.0, axis == 1 ? 1.0 : 0.0, axis == 2 ? 1.0 : 0.0};
        const Vector change = passage.view.second.turn_back(cross(about, passage.world));
        _set(passage.by_ray(change), &x->turn[axis], &y->turn[axis]);
    }
}

void _add_zooms(const Passage& passage, Slope* x, Slope* y)
{
    const double focal = passage.view.second_focal;
    _set(passage.by_seen({-passage.seen.x, -passage.seen.y}), &x->first_zoom, &y->first_zoom);
    _set({focal * passage.shown.x, focal * passage.shown.y}, &x->second_zoom, &y->second_zoom);
}

void _add_radial(const Passage& passage, Slope* x, Slope* y)
{
    const double square = passage.square;
    const Place through_first = passage.by_first_ray({square * passage.seen.x, square * passage.seen.y, 0.0});
    // The second lens bends back: r (1 + k1 r^2) stays what it is while k1 grows.
    const Place bent = passage.bent.place;
    const double bent_square = bent.x * bent.x + bent.y * bent.y;
    const double back = -passage.view.second_focal * bent_square / passage.bent.stretch;
    _set({through_first.x + back * bent.x, through_first.y + back * bent.y}, &x->radial, &y->radial);
}

void _add_skews(const Passage& passage, Slope* x, Slope* y)
{
    const Place seen = passage.seen, bent = passage.bent.place;
    const double focal = passage.view.second_focal;
    _set(passage.by_seen({-seen.x, seen.y}), &x->first_skew[0], &y->first_skew[0]);
    _set(passage.by_seen({-seen.y, -seen.x}), &x->first_skew[1], &y->first_skew[1]);
    _set({focal * bent.x, -focal * bent.y}, &x->second_skew[0], &y->second_skew[0]);
    _set({focal * bent.y, focal * bent.x}, &x->second_skew[1], &y->second_skew[1]);
}

constexpr double kFarOff = 1e12;

// kFarOff where the second camera looks away.
double _squared_distance(const LensPair& lenses, const Match& match)
{
    Place shown = {};
    if (!place_in_second(lenses, match.first, &shown))
        return kFarOff;
    const double x = shown.x - match.second.x;
    const double y = shown.y - match.second.y;
    return x * x + y * y;
}

}  // namespace

bool residual_of(const LinkView& view, const Match& match, LensFreedom freedom, Residual* residual)
{
    Passage passage = {view, {}, 0.0, {}, 0.0, {}, {}, {}, {}};
    if (!_pass(match.first, &passage))
        return false;
    residual->x = view.second_focal * passage.shown.x - match.second.x;
    residual->y = view.second_focal * passage.shown.y - match.second.y;
    Slope *x = &residual->slope_x, *y = &residual->slope_y;
    _add_turns(passage, x, y);
    _add_zooms(passage, x, y);
    if (freedom != kLensOfPair)
        _add_radial(passage, x, y);
    if (freedom == kShutterToo)
        _add_skews(passage, x, y);
    return true;
}

Agreement agreement_of(const Link& link, const Lenses& lenses)
{
    const LensPair pair = lens_pair(lenses, link.first, link.second);
    Agreement agreement = {};
    double sum = 0.0;
    for (int32_t i = 0; i < link.count; ++i) {
        const double square = _squared_distance(pair, link.matches[i]);
        if (square > kNearPixels * kNearPixels)
            continue;
        sum += square;
        ++agreement.near;
    }
    if (agreement.near > 0)
        agreement.residual = std::sqrt(sum / agreement.near);
    return agreement;
}

}  // namespace ozr::refined
