// What simulated cameras see: the painted city, or in sweeps up and down the tower.
#ifndef SCENES_H
#define SCENES_H

#include "scene/camera.h"
#include "scene/scene.h"

#include <map>
#include <tuple>

// For cameras of a focal length in pixels; so many radians along and across
// the sweep. Painted once each.
inline const ozr_pano::Surroundings& scene(bool vertical, double focal, double along = 3.4,
                                           double across = 1.4)
{
    using namespace ozr_pano;
    static std::map<std::tuple<bool, double, double, double>, Surroundings> painted;
    const auto key = std::make_tuple(vertical, focal, along, across);
    const auto known = painted.find(key);
    if (known != painted.end())
        return known->second;
    const double x = along * kSceneUnitsPerRadian, y = across * kSceneUnitsPerRadian,
                 scale = focal / kSceneUnitsPerRadian;
    const Canvas canvas = vertical ? paint_tower(x, y, x - 330, scale, 1) : paint_city(x, y, scale, 1);
    return painted.emplace(key, Surroundings(canvas, focal, vertical)).first->second;
}

#endif
