// Callers see their own pictures: where these are turned inside, offsets and angles are turned
// back.
#include "refined/joints.h"

#include <cmath>

#include "refined/angles.h"

namespace ozr::refined
{

namespace
{

const Pair* _pair_of_joint(const SweepInside& sweep, int32_t index)
{
    int32_t further = sweep.pictures - 1;
    for (int32_t i = 0; i < sweep.count; ++i) {
        const Pair& pair = sweep.pairs[i];
        const bool is_neighbour = pair.second == pair.first + 1;
        const int32_t own = is_neighbour ? pair.first : further++;
        if (own == index)
            return &pair;
    }
    return nullptr;
}

struct Angles {
    double along;
    double across;
    double roll;
};

// R = turn about y by `along`, about x by `across`, about z by `roll`, the last one first.
Angles _angles(const Rotation& rotation)
{
    const Vector ahead = rotation.column(2);
    return {arctangent(ahead.x, ahead.z),
            arctangent(ahead.y, std::sqrt(ahead.x * ahead.x + ahead.z * ahead.z)),
            arctangent(rotation.m[3], rotation.m[4])};
}

double _tangent(double angle)
{
    const SineCosine turn = sine_cosine(angle);
    return turn.sine / turn.cosine;
}

// Of two pictures of the panorama, in its pixels.
Place _offset_on_cylinder(const Camera& first, const Camera& second, double radius)
{
    const Angles a = _angles(first.rotation);
    const Angles b = _angles(second.rotation);
    double along = b.along - a.along;
    along += along > kPi ? -2.0 * kPi : along < -kPi ? 2.0 * kPi : 0.0;
    return {along * radius, (_tangent(b.across) - _tangent(a.across)) * radius};
}

// Of two pictures that are not both in the panorama, from what they have in common alone.
Place _offset_of_guess(const SweepInside& sweep, const Pair& pair)
{
    const double focal = sweep.cameras[pair.first].focal;
    const double base_focal = focal / sweep.sights[pair.first].base_scale();
    const Angles angles = _angles(inverse(turn_of_guess(pair.match.guess, base_focal)));
    return {angles.along * focal, angles.across * focal};
}

// The sweep along x.
Place _offset(const SweepInside& sweep, const Pair& pair)
{
    const Camera& first = sweep.cameras[pair.first];
    const Camera& second = sweep.cameras[pair.second];
    if (pair.match.matches.count == 0)
        return {0.0, 0.0};
    return first.used && second.used ? _offset_on_cylinder(first, second, sweep.drawn->radius)
                                     : _offset_of_guess(sweep, pair);
}

}  // namespace

bool joint_of(const SweepInside& sweep, int32_t index, ozr_panorama_joint* joint)
{
    const Pair* pair = _pair_of_joint(sweep, index);
    if (pair == nullptr)
        return false;
    const Camera& first = sweep.cameras[pair->first];
    const Camera& second = sweep.cameras[pair->second];
    const PairMatch& match = pair->match;
    const Place offset = _offset(sweep, *pair);
    joint->first = pair->first;
    joint->second = pair->second;
    joint->offset_x = static_cast<float>(sweep.is_turned ? offset.y : offset.x);
    joint->offset_y = static_cast<float>(sweep.is_turned ? -offset.x : offset.y);
    joint->residual =
        static_cast<float>(match.near > 0 ? match.residual * sweep.sights[pair->first].base_scale() : -1.0);
    joint->confidence = static_cast<float>(match.confidence());
    joint->used = first.used && second.used ? 1 : 0;
    joint->gain = static_cast<float>(joint->used != 0 ? second.gain / first.gain : 1.0);
    return true;
}

bool camera_of(const SweepInside& sweep, int32_t index, ozr_panorama_camera* camera)
{
    if (index < 0 || index >= sweep.pictures)
        return false;
    const Camera& own = sweep.cameras[index];
    const Angles angles = _angles(own.rotation);
    camera->yaw = static_cast<float>((sweep.is_turned ? angles.across : angles.along) / kDegree);
    camera->pitch = static_cast<float>((sweep.is_turned ? -angles.along : angles.across) / kDegree);
    camera->roll = static_cast<float>(angles.roll / kDegree);
    camera->focal_length = static_cast<float>(own.focal);
    camera->radial = static_cast<float>(own.radial);
    camera->gain = static_cast<float>(own.gain);
    camera->used = own.used ? 1 : 0;
    return true;
}

}  // namespace ozr::refined
