// A simulated camera in a world whose every ray has a known brightness.
#ifndef SIMULATED_CAMERA_H
#define SIMULATED_CAMERA_H

#include <algorithm>
#include <cmath>
#include <vector>

#include "refined/angles.h"
#include "refined/camera.h"
#include "support/pictures.h"
#include "support/random.h"

namespace refined = ozr::refined;
using refined::kDegree;
using refined::Rotation;
using refined::Vector;

// Degrees to the right, down and clockwise.
struct Pose {
    double yaw;
    double pitch;
    double roll;
};

// The turn along the sweep is the outermost one.
inline Rotation rotation_of_pose(const Pose& pose, bool vertical = false)
{
    const Rotation right = refined::rotation_about({0, pose.yaw * kDegree, 0}),
                   down = refined::rotation_about({-pose.pitch * kDegree, 0, 0}),
                   clockwise = refined::rotation_about({0, 0, pose.roll * kDegree});
    const Rotation &outer = vertical ? down : right, &inner = vertical ? right : down;
    return outer * inner * clockwise;
}

inline refined::Camera camera_of_pose(const Pose& pose, double focal, double radial)
{
    return {rotation_of_pose(pose), focal, radial, 1, true};
}

// Where a ray meets a cylinder of radius 1: radians to the right, and how far down.
inline double heading_of(const Vector& ray)
{
    return std::atan2(ray.x, ray.z);
}

inline double height_of(const Vector& ray)
{
    return ray.y / std::hypot(ray.x, ray.z);
}

// Luma, and both bytes of chroma.
struct Paint {
    double luma;
    double u;
    double v;
};

struct SimulatedCamera {
    int32_t width;
    int32_t height;
    double focal;
    double radial = 0;
    int32_t padding = 0;             // bytes after each row
    double noise = 0;                // levels of luma, at most, either way
    std::vector<Pose> views = {};    // one for each picture
    std::vector<Pose> motions = {};  // from the first row to the last one; none unless given

    Rotation rotation(size_t picture, double y) const
    {
        Pose pose = views[picture];
        if (picture < motions.size()) {
            const Pose& motion = motions[picture];
            const double part = y / (height - 1) - 0.5;
            pose = {pose.yaw + part * motion.yaw, pose.pitch + part * motion.pitch,
                    pose.roll + part * motion.roll};
        }
        return rotation_of_pose(pose);
    }

    Vector ray(const Rotation& rotation, double x, double y) const
    {
        const double u = (x - (width - 1) / 2.0) / focal, v = (y - (height - 1) / 2.0) / focal;
        const double d = 1 + radial * (u * u + v * v);
        return rotation.turn({u * d, v * d, 1});
    }
};

// A picture that a camera takes of camera.seen(ray, picture); grey, unless camera.is_coloured.
struct Photograph : TestImg {
    template <class Camera>
    Photograph(const Camera& camera, size_t picture)
        : TestImg(kPanoNv12, camera.width, camera.height, camera.padding, 128)
    {
        const auto byte = [](double level) {
            return static_cast<uint8_t>(std::clamp(level + 0.5, 0.0, 255.0));
        };
        Random random(static_cast<uint32_t>(picture) + 1);
        for (int32_t y = 0; y < camera.height; ++y) {
            uint8_t* row = ozr::pano_row(&img, y);
            const Rotation rotation = camera.rotation(picture, y);
            for (int32_t x = 0; x < camera.width; ++x) {
                const double grain = camera.noise > 0 ? camera.noise * (random.below(2001) / 1000.0 - 1) : 0;
                row[x] = byte(camera.seen(camera.ray(rotation, x, y), picture).luma + grain);
            }
        }
        for (int32_t y = 0; camera.is_coloured && y < camera.height; y += 2) {
            uint8_t* row = ozr::pano_chroma_row(&img, y / 2);
            const Rotation rotation = camera.rotation(picture, y + 0.5);
            for (int32_t x = 0; x < camera.width; x += 2) {
                const Paint paint = camera.seen(camera.ray(rotation, x + 0.5, y + 0.5), picture);
                row[x] = byte(paint.u);
                row[x + 1] = byte(paint.v);
            }
        }
    }
};

#endif
