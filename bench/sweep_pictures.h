// The pictures of a sweep: a painted street in front of a simulated camera that turns to the right.
#ifndef SWEEP_PICTURES_H
#define SWEEP_PICTURES_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "scene/camera.h"

struct Size {
    int32_t width;
    int32_t height;

    std::string text() const { return std::to_string(width) + "x" + std::to_string(height); }
};

constexpr Size kPreviewSize = {640, 480};
constexpr Size kScreenSize = {1280, 960};
constexpr Size kPhotoSize = {4000, 3000};

/** The sweeps that are timed, at 70 percent overlap. */
struct SweepPlan {
    Size size;
    int32_t pictures;

    std::string text() const { return "sweep_of_" + std::to_string(pictures) + "/" + size.text(); }
    // Where a picture is expected relative to the one before, in pixels.
    int32_t step() const { return size.width * 3 / 10; }
};
constexpr SweepPlan kScreenSweep = {kScreenSize, 8};
constexpr SweepPlan kPhotoSweep = {kPhotoSize, 10};

/** An NV12 picture with its pixels. */
class Nv12Picture
{
public:
    explicit Nv12Picture(Size size);

    ozr_image image;

private:
    std::vector<uint8_t> bytes_;
};

/** A hand-held camera before the street of one sweep. */
class SweepCamera
{
public:
    /** Paints the street. @param pictures  that the sweep takes. */
    SweepCamera(Size size, int32_t pictures);

    /** @param place  where the camera points, in steps from one picture of the sweep to the next. */
    void take(double place, ozr_image* picture) const;

private:
    Size size_;
    double focal_;
    std::unique_ptr<ozr_pano::Surroundings> street_;
};

/** All pictures of a sweep; taken when first asked for, then kept. */
std::vector<Nv12Picture>& sweep_pictures(const SweepPlan& plan);

/**
 * Preview frames of a camera that moves to and fro by one percent of a picture; likewise. As many as no cache holds: a
 * camera writes its frames to memory, too.
 */
const std::vector<Nv12Picture>& preview_frames(Size size);

#endif
