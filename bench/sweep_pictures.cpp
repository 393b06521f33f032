#include "sweep_pictures.h"

#include <cmath>
#include <cstring>
#include <map>

#include "scene/scene.h"

using namespace ozr_pano;

namespace
{

constexpr double kStep = 0.3;       // of a picture, from one picture of a sweep to the next
constexpr double kEdge = 0.05;      // radians of street before the first view and behind the last one
constexpr double kMargin = 42;      // units of the scene above and below the view
constexpr double kTremble = 0.004;  // radians across the sweep
constexpr size_t kBeyondCaches = 100'000'000;  // bytes of preview frames

}  // namespace

Nv12Picture::Nv12Picture(Size size)
    : image(), bytes_(static_cast<size_t>(size.width) * static_cast<size_t>(size.height) * 3 / 2)
{
    const auto bytes = static_cast<int32_t>(bytes_.size());
    image = {bytes_.data(), bytes, size.width, size.height, ozr_image_format_nv12, size.width, 0};
}

SweepCamera::SweepCamera(Size size, int32_t pictures) : size_(size), focal_(assumed_focal_length(size.width))
{
    const double view = 2 * arc_tangent(size.width / 2.0 / focal_);
    const double arc = view + (pictures - 1) * kStep * size.width / focal_ + 2 * kEdge;
    const double scale = focal_ / kSceneUnitsPerRadian;  // pixels to a unit
    street_ = std::make_unique<Surroundings>(
        paint_city(arc * kSceneUnitsPerRadian, size.height / scale + 2 * kMargin, scale, 1), focal_, false);
}

void SweepCamera::take(double place, ozr_image* picture) const
{
    const double first = kEdge + arc_tangent(size_.width / 2.0 / focal_);
    const Pose pose = {first + place * kStep * size_.width / focal_, kTremble * std::sin(2 * place), 0};
    street_->photograph({size_.width, size_.height, focal_, false}, pose, picture);
}

std::vector<Nv12Picture>& sweep_pictures(const SweepPlan& plan)
{
    static std::map<std::string, std::vector<Nv12Picture>> taken;
    std::vector<Nv12Picture>& pictures = taken[plan.text()];
    if (pictures.empty()) {
        const SweepCamera camera(plan.size, plan.pictures);
        for (int32_t i = 0; i < plan.pictures; ++i)
            camera.take(i, &pictures.emplace_back(plan.size).image);
    }
    return pictures;
}

const std::vector<Nv12Picture>& preview_frames(Size size)
{
    static std::map<int32_t, std::vector<Nv12Picture>> taken;
    std::vector<Nv12Picture>& frames = taken[size.width];
    if (frames.empty()) {
        const SweepCamera camera(size, 2);
        for (const double place : {0.0, 0.01 / kStep})
            camera.take(place, &frames.emplace_back(size).image);
        const size_t bytes = static_cast<size_t>(frames[0].image.size);
        while (frames.size() * bytes < kBeyondCaches || frames.size() % 2 != 0) {
            const uint8_t* same = frames[frames.size() - 2].image.data;
            memcpy(frames.emplace_back(size).image.data, same, bytes);
        }
    }
    return frames;
}
