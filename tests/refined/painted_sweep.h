// Sweeps over a painted world whose every ray has a known brightness, for tests of what is drawn from known cameras.
#ifndef PAINTED_SWEEP_H
#define PAINTED_SWEEP_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "refined/draw.h"
#include "support/random.h"

struct Ray {
    double x, y, z;
};

// Luma, and both bytes of chroma, of what a ray meets: waves that the smallest pictures still resolve.
struct Paint {
    double luma, u, v;
};

inline Paint painted(const Ray& ray)
{
    const double heading = std::atan2(ray.x, ray.z), height = ray.y / std::hypot(ray.x, ray.z);
    return {120 + 45 * std::sin(14 * heading + 1) * std::cos(11 * height) +
                30 * std::sin(31 * heading - 17 * height),
            128 + 40 * std::sin(6 * heading), 128 + 35 * std::cos(5 * heading + 4 * height)};
}

struct Sweep {
    int32_t width = 160, height = 120, padding = 0;
    double focal = 172, radial = 0;
    std::function<Paint(const Ray&, int32_t picture)> paint = [](const Ray& ray, int32_t) {
        return painted(ray);
    };

    std::vector<std::vector<uint8_t>> pixels;
    std::vector<PanoImg> images;
    std::vector<ozr::refined::Pyramid> pyramids;
    std::vector<ozr::refined::Camera> cameras;
    std::vector<ozr::refined::DrawPicture> pictures;

    // Yaw to the right, pitch down, roll; degrees.
    void add(double yaw, double pitch = 0, double roll = 0)
    {
        constexpr double kDegree = 3.14159265358979 / 180;
        const double cy = std::cos(yaw * kDegree), sy = std::sin(yaw * kDegree),
                     cp = std::cos(pitch * kDegree), sp = std::sin(pitch * kDegree),
                     cr = std::cos(roll * kDegree), sr = std::sin(roll * kDegree);
        cameras.push_back({{cy * cr - sy * sp * sr, -cy * sr - sy * sp * cr, sy * cp, cp * sr, cp * cr, sp,
                            -sy * cr - cy * sp * sr, sy * sr - cy * sp * cr, cy * cp},
                           focal,
                           radial,
                           1,
                           true});
    }

    Ray ray(const ozr::refined::Camera& camera, double x, double y) const
    {
        const double u = (x - (width - 1) / 2.0) / camera.focal, v = (y - (height - 1) / 2.0) / camera.focal;
        const double d = 1 + camera.radial * (u * u + v * v);
        const double* r = camera.rotation;
        return {r[0] * u * d + r[1] * v * d + r[2], r[3] * u * d + r[4] * v * d + r[5],
                r[6] * u * d + r[7] * v * d + r[8]};
    }

    void take()
    {
        const auto byte = [](double level) {
            return static_cast<uint8_t>(std::clamp(level + 0.5, 0.0, 255.0));
        };
        const int32_t stride = width + padding;
        for (size_t i = 0; i < cameras.size(); ++i) {
            std::vector<uint8_t> p(static_cast<size_t>(stride * height / 2 * 3), 77);
            for (int32_t y = 0; y < height; ++y) {
                for (int32_t x = 0; x < width; ++x)
                    p[static_cast<size_t>(y * stride + x)] =
                        byte(paint(ray(cameras[i], x, y), static_cast<int32_t>(i)).luma);
            }
            for (int32_t y = 0; y < height; y += 2) {
                for (int32_t x = 0; x < width; x += 2) {
                    const Paint pair = paint(ray(cameras[i], x + 0.5, y + 0.5), static_cast<int32_t>(i));
                    uint8_t* at = &p[static_cast<size_t>((height + y / 2) * stride + x)];
                    at[0] = byte(pair.u);
                    at[1] = byte(pair.v);
                }
            }
            pixels.push_back(p);
        }
        describe();
    }

    void describe()
    {
        const int32_t stride = width + padding;
        images.clear();
        pictures.clear();
        for (std::vector<uint8_t>& p : pixels)
            images.push_back({kPanoNv12, width, height, stride, static_cast<int32_t>(p.size()), 0, p.data()});
        pyramids.clear();
        pyramids.resize(images.size());
        for (size_t i = 0; i < images.size(); ++i) {
            EXPECT_EQ(ozr::refined::build_pyramid(&images[i], &pyramids[i]), kPanoSuccess);
            pictures.push_back({&images[i], &pyramids[i], &cameras[i]});
        }
    }

    ozr::refined::DrawInput input(const ozr::SharedWord<uint8_t>* cancel = nullptr) const
    {
        return {pictures.data(), static_cast<int32_t>(pictures.size()), {cancel}};
    }
};

// A panorama that frees itself, and what was reported of it.
struct Drawn {
    PanoImg image = {};
    ozr::refined::DrawReport report = {};
    PanoResult result;

    explicit Drawn(const ozr::refined::DrawInput& input)
    {
        result = ozr::refined::draw(input, &image, &report);
    }
    explicit Drawn(const Sweep& sweep) : Drawn(sweep.input()) {}
    ~Drawn() { PanoImg_Destroy(&image); }
    Drawn(const Drawn&) = delete;
    Drawn& operator=(const Drawn&) = delete;

    // Along which a pixel of the panorama looks.
    Ray ray(double x, double y) const
    {
        const double heading = report.first_heading + x / report.radius;
        return {std::sin(heading), report.first_height + y / report.radius, std::cos(heading)};
    }
    int32_t luma(int32_t x, int32_t y) const { return image.data[y * image.stride + x]; }
    int32_t chroma(int32_t x, int32_t y) const  // of byte x
    {
        return image.data[(image.height + y) * image.stride + x];
    }
    std::vector<uint8_t> bytes() const { return {image.data, image.data + image.size}; }
};

#endif
