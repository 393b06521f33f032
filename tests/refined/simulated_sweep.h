// Simulated sweeps over a painted world of chance, taken through the public interface; what
// was found is kept as records.
#ifndef SIMULATED_SWEEP_H
#define SIMULATED_SWEEP_H

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <vector>

#include "ozr_panorama.h"
#include "refined/simulated_camera.h"
#include "session/window.h"
#include "support/handle.h"

// A cell of the world is bright or dark by chance; three sizes of cells, blurred at their edges.
inline double texture(double a, double b, uint32_t seed)
{
    double sum = 0;
    for (const double size : {90.0, 37.0, 13.0}) {
        const double x = a * size, y = b * size;
        const auto cell = [&](double i, double j) {
            uint32_t h = static_cast<uint32_t>(static_cast<int32_t>(i)) * 0x9E3779B1U ^
                         static_cast<uint32_t>(static_cast<int32_t>(j)) * 0x85EBCA77U ^ seed;
            h = (h ^ (h >> 15)) * 0x2C1B3C6DU;
            return static_cast<double>((h ^ (h >> 13)) & 255U) - 128.0;
        };
        const double i = std::floor(x), j = std::floor(y);
        const auto ease = [](double t) { return t * t * (3 - 2 * t); };
        const double u = ease(x - i), v = ease(y - j);
        sum += (cell(i, j) * (1 - u) + cell(i + 1, j) * u) * (1 - v) +
               (cell(i, j + 1) * (1 - u) + cell(i + 1, j + 1) * u) * v;
    }
    return sum;
}

struct Simulated : SimulatedCamera {
    bool vertical = false;
    bool is_coloured = false;
    std::vector<uint32_t> worlds;  // a picture's own world; 1 unless given
    std::vector<double> lights;    // 1 unless given
    double contrast = 0.4;
    double horizon = 0;  // levels by which the sky is brighter than the ground, in every world

    Simulated() : SimulatedCamera{480, 360, 517} {}  // the focal length assumed of 480 columns

    Paint seen(const Vector& ray, size_t picture) const
    {
        const Vector along = vertical ? Vector{ray.y, ray.x, ray.z} : ray;
        const double right = heading_of(along), down = height_of(along);
        const uint32_t world = picture < worlds.size() ? worlds[picture] : 1;
        const double light = picture < lights.size() ? lights[picture] : 1.0;
        const double level = light * (128 + contrast * texture(right + 8, down + 8, world) -
                                      0.5 * horizon * std::tanh(8 * down));
        return {level, 255 - level, level};
    }

    static Simulated pan(int32_t pictures, double step, double focal_factor = 1)
    {
        Simulated sweep;
        sweep.focal *= focal_factor;
        for (int32_t i = 0; i < pictures; ++i)
            sweep.views.push_back({step * i, 0, 0});
        return sweep;
    }
};

struct Found {
    ozr_err error = ozr_success;
    ozr_image panorama = {};
    std::vector<ozr_panorama_joint> joints;
    std::vector<ozr_panorama_camera> cameras;
    std::vector<uint8_t> pixels;
    std::vector<double> near;  // a pair: the share of its matches that agree with the cameras
};

inline std::deque<Photograph> photographs(const Simulated& sweep)
{
    std::deque<Photograph> pictures;
    for (size_t i = 0; i < sweep.views.size(); ++i)
        pictures.emplace_back(sweep, i);
    return pictures;
}

// Hands a picture over without a word on where it is.
inline ozr_err stitch(ozr_panorama* pano, const Photograph& picture)
{
    const PanoImg& img = picture.img;
    ozr_image image = {img.data, img.size, img.width, img.height, ozr_image_format_nv12, img.stride, 0};
    return ozr_panorama_stitch_one_image(pano, &image, nullptr);
}

inline ozr_err take_all(ozr_panorama* pano, const std::deque<Photograph>& pictures,
                        ozr_panorama_direction direction = ozr_panorama_direction_auto,
                        ozr_panorama_quality quality = ozr_panorama_quality_refined)
{
    const ozr_panorama_parameters params = {70, direction};
    ozr_err error = ozr_panorama_set_parameters(pano, &params);
    if (error == ozr_success)
        error = ozr_panorama_set_quality(pano, quality);
    for (size_t i = 0; i < pictures.size() && error == ozr_success; ++i)
        error = stitch(pano, pictures[i]);
    return error;
}

inline Found find(const std::deque<Photograph>& pictures,
                  ozr_panorama_direction direction = ozr_panorama_direction_auto,
                  ozr_panorama_quality quality = ozr_panorama_quality_refined)
{
    Found found;
    const Handle pano = create_panorama();
    found.error = take_all(pano.get(), pictures, direction, quality);
    if (found.error == ozr_success)
        found.error = ozr_panorama_run(pano.get(), &found.panorama);
    if (found.error == ozr_success)
        found.pixels.assign(found.panorama.data, found.panorama.data + found.panorama.size);
    ozr_panorama_joint joint;
    ozr_panorama_camera camera;
    for (int32_t i = 0; ozr_panorama_get_joint(pano.get(), i, &joint) == ozr_success; ++i)
        found.joints.push_back(joint);
    for (int32_t i = 0; ozr_panorama_get_camera(pano.get(), i, &camera) == ozr_success; ++i)
        found.cameras.push_back(camera);
    for (int32_t i = 0; i < ozr::session::look_at_refined(pano.get()).pairs; ++i) {
        const ozr::session::MatchesRecord pair = ozr::session::look_at_matches(pano.get(), i);
        const auto agrees = [](const ozr::session::MatchRecord& match) { return match.is_near; };
        const auto near = std::count_if(pair.matches, pair.matches + pair.count, agrees);
        found.near.push_back(static_cast<double>(near) / std::max(pair.count, 1));
    }
    return found;
}

inline Found find(const Simulated& sweep, ozr_panorama_direction direction = ozr_panorama_direction_auto,
                  ozr_panorama_quality quality = ozr_panorama_quality_refined)
{
    return find(photographs(sweep), direction, quality);
}

inline double angle_of(const Rotation& r)
{
    return std::acos(std::clamp((r.m[0] + r.m[4] + r.m[8] - 1) / 2, -1.0, 1.0)) / kDegree;
}

// From one picture's view to another's, and by how many degrees what was found is off.
inline Rotation true_turn(const Simulated& sweep, int32_t first, int32_t second)
{
    return inverse(rotation_of_pose(sweep.views[static_cast<size_t>(first)])) *
           rotation_of_pose(sweep.views[static_cast<size_t>(second)]);
}

inline double turn_error(const Simulated& sweep, const Found& found, int32_t first, int32_t second)
{
    const auto rotation = [&](int32_t picture) {
        const ozr_panorama_camera& camera = found.cameras[static_cast<size_t>(picture)];
        return rotation_of_pose({static_cast<double>(camera.yaw), static_cast<double>(camera.pitch),
                                 static_cast<double>(camera.roll)},
                                sweep.vertical);
    };
    return angle_of(inverse(true_turn(sweep, first, second)) * inverse(rotation(first)) * rotation(second));
}

#endif
