// Simulated sweeps over a painted world of chance, taken through the public interface; what was found is kept as records.
#ifndef SIMULATED_SWEEP_H
#define SIMULATED_SWEEP_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "ozr_panorama.h"
#include "refined/angles.h"
#include "refined/rotation.h"
#include "support/random.h"

namespace refined = ozr::refined;
using refined::kDegree;
using refined::Rotation;
using refined::Vector;

struct Pose {
    double yaw;  // degrees to the right
    double pitch;
    double roll;
};

inline Rotation rotation_of_pose(const Pose& pose)
{
    return refined::rotation_about({0, pose.yaw * kDegree, 0}) *
           refined::rotation_about({-pose.pitch * kDegree, 0, 0}) *
           refined::rotation_about({0, 0, pose.roll * kDegree});
}

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

struct Simulated {
    int32_t width = 480;
    int32_t height = 360;
    double focal = 517;  // what is assumed of 480 columns
    double radial = 0;
    bool vertical = false;
    std::vector<Pose> views;
    std::vector<uint32_t> worlds;  // a picture's own world; 1 unless given
    std::vector<double> lights;    // 1 unless given
    std::vector<Pose> motions;     // of the camera, from the first row to the last one; none unless given
    double contrast = 0.4;
    double horizon = 0;  // levels by which the sky is brighter than the ground, in every world
    double noise = 0;    // levels, at most, either way

    std::vector<uint8_t> picture(size_t index) const
    {
        Pose motion = {0, 0, 0};
        if (index < motions.size())
            motion = motions[index];
        Random random(static_cast<uint32_t>(index) + 1);
        const uint32_t world = index < worlds.size() ? worlds[index] : 1;
        const double light = index < lights.size() ? lights[index] : 1.0;
        std::vector<uint8_t> pixels(static_cast<size_t>(width * height * 3 / 2), 128);
        for (int32_t y = 0; y < height; ++y) {
            const double part = static_cast<double>(y) / (height - 1) - 0.5;
            const Pose& pose = views[index];
            const Rotation turn =
                rotation_of_pose({pose.yaw + part * motion.yaw, pose.pitch + part * motion.pitch,
                                  pose.roll + part * motion.roll});
            for (int32_t x = 0; x < width; ++x) {
                const double u = (x - (width - 1) / 2.0) / focal, v = (y - (height - 1) / 2.0) / focal;
                const double d = 1 + radial * (u * u + v * v);
                const Vector ray = turn.turn({u * d, v * d, 1});
                const double heading = vertical ? std::atan2(ray.y, ray.z) : std::atan2(ray.x, ray.z);
                const double up =
                    vertical ? ray.x / std::hypot(ray.y, ray.z) : ray.y / std::hypot(ray.x, ray.z);
                const double grain = noise > 0 ? noise * (random.below(2001) / 1000.0 - 1) : 0;
                const double level = light * (128 + contrast * texture(heading + 8, up + 8, world) -
                                              0.5 * horizon * std::tanh(8 * up)) +
                                     grain + 0.5;
                pixels[static_cast<size_t>(y * width + x)] =
                    static_cast<uint8_t>(std::min(std::max(level, 0.0), 255.0));
            }
        }
        return pixels;
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
};

inline ozr_err take_all(ozr_panorama* pano, const Simulated& sweep, ozr_panorama_direction direction,
                        ozr_panorama_quality quality = ozr_panorama_quality_refined)
{
    const ozr_panorama_parameters params = {70, direction};
    ozr_err error = ozr_panorama_set_parameters(pano, &params);
    if (error == ozr_success)
        error = ozr_panorama_set_quality(pano, quality);
    for (size_t i = 0; i < sweep.views.size() && error == ozr_success; ++i) {
        std::vector<uint8_t> pixels = sweep.picture(i);
        ozr_image image = {pixels.data(),
                           static_cast<int32_t>(pixels.size()),
                           sweep.width,
                           sweep.height,
                           ozr_image_format_nv12,
                           sweep.width,
                           0};
        error = ozr_panorama_stitch_one_image(pano, &image, nullptr);
    }
    return error;
}

inline Found find(const Simulated& sweep, ozr_panorama_direction direction = ozr_panorama_direction_auto,
                  ozr_panorama_quality quality = ozr_panorama_quality_refined)
{
    Found found;
    ozr_panorama* pano = nullptr;
    EXPECT_EQ(ozr_panorama_create(nullptr, &pano), ozr_success);
    found.error = take_all(pano, sweep, direction, quality);
    if (found.error == ozr_success)
        found.error = ozr_panorama_run(pano, &found.panorama);
    if (found.error == ozr_success)
        found.pixels.assign(found.panorama.data, found.panorama.data + found.panorama.size);
    ozr_panorama_joint joint;
    ozr_panorama_camera camera;
    for (int32_t i = 0; ozr_panorama_get_joint(pano, i, &joint) == ozr_success; ++i)
        found.joints.push_back(joint);
    for (int32_t i = 0; ozr_panorama_get_camera(pano, i, &camera) == ozr_success; ++i)
        found.cameras.push_back(camera);
    ozr_panorama_destroy(pano);
    return found;
}

inline double angle_of(const Rotation& r)
{
    return std::acos(std::min(1.0, std::max(-1.0, (r.m[0] + r.m[4] + r.m[8] - 1) / 2))) / kDegree;
}

inline Rotation rotation_of_camera(const ozr_panorama_camera& camera, bool vertical)
{
    const double yaw = static_cast<double>(camera.yaw), pitch = static_cast<double>(camera.pitch),
                 roll = static_cast<double>(camera.roll);
    if (!vertical)
        return rotation_of_pose({yaw, pitch, roll});
    return refined::rotation_about({-pitch * kDegree, 0, 0}) *
           refined::rotation_about({0, yaw * kDegree, 0}) * refined::rotation_about({0, 0, roll * kDegree});
}

#endif
