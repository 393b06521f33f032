// Whole sweeps through the public interface, in front of a simulated camera whose motion is known.
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "camera.h"
#include "ozr_cpu.h"
#include "ozr_kernels.h"
#include "scene.h"
#include "support/handle.h"
#include "support/log_capture.h"
#include "support/sweeps.h"

namespace
{

constexpr int32_t kWidth = 640, kHeight = 480, kPictures = 4;
constexpr double kStep = 0.3;  // of a picture, along the sweep

bool is_backward(int32_t direction)
{
    return direction == kDirectionLeft || direction == kDirectionUp;
}

int32_t extent(int32_t direction)
{
    return pano_is_vertical(direction) ? kHeight : kWidth;
}

// A hand that turns by equal steps, give or take, and trembles across them.
Pose pose_of(int32_t direction, int32_t picture)
{
    const double focal = assumed_focal_length(extent(direction));
    const double step = kStep * extent(direction) / focal;
    const int32_t place = is_backward(direction) ? kPictures - picture : picture + 1;
    return {step * (place + 0.07 * (picture % 2)), 0.004 * (picture % 3 - 1), 0.001 * (picture % 2)};
}

// The city or the tower, painted once for all tests of a direction's kind.
const Surroundings& surroundings(bool vertical)
{
    static std::map<bool, std::unique_ptr<Surroundings>> painted;
    std::unique_ptr<Surroundings>& scene = painted[vertical];
    if (!scene) {
        const double focal = assumed_focal_length(vertical ? kHeight : kWidth);
        const double scale = focal / kSceneUnitsPerRadian;
        const double along = 2.2 * kSceneUnitsPerRadian, across = (vertical ? kWidth : kHeight) / scale + 80;
        scene = std::make_unique<Surroundings>(vertical ? paint_tower(along, across, along - 300, scale, 1)
                                                        : paint_city(along, across, scale, 1),
                                               focal, vertical);
    }
    return *scene;
}

ozr_image photograph(int32_t direction, const Pose& pose, TestImg* img)
{
    ozr_image image = img->as_public(ozr_image_format_nv12);
    const Lens lens = {kWidth, kHeight, assumed_focal_length(extent(direction)), pano_is_vertical(direction)};
    surroundings(pano_is_vertical(direction)).photograph(lens, pose, &image);
    return image;
}

struct Sweep {
    explicit Sweep(int32_t way) : direction(way)
    {
        const ozr_panorama_parameters params = {70, static_cast<ozr_panorama_direction>(way)};
        ozr_panorama_set_parameters(pano.get(), &params);
    }

    std::vector<uint8_t> run()
    {
        for (int32_t i = 0; i < kPictures; ++i) {
            TestImg img(kPanoNv12, kWidth, kHeight);
            ozr_image picture = photograph(direction, pose_of(direction, i), &img);
            EXPECT_EQ(ozr_panorama_stitch_one_image(pano.get(), &picture, nullptr), ozr_success);
        }
        EXPECT_EQ(ozr_panorama_run(pano.get(), &panorama), ozr_success);
        return {panorama.data, panorama.data + panorama.size};
    }

    int32_t direction;
    Handle pano = create_panorama();
    ozr_image panorama = {};
    LogCapture silent;
};

// What the projection makes of a turn by `angle`: a point at the angle t from the middle of the picture lies at R sin t of
// the projected picture, so two pictures show it R sin t - R sin(t - angle) apart; averaged over their overlap.
double projected_turn(int32_t direction, double angle)
{
    const double radius = (extent(direction) >> 5) * 418 / 10;
    const double edge = std::asin(extent(direction) / 2.0 / radius);
    double sum = 0;
    for (int32_t i = 0; i < 100; ++i) {
        const double t = angle - edge + (i + 0.5) / 100 * (2 * edge - angle);
        sum += radius * (std::sin(t) - std::sin(t - angle));
    }
    return sum / 100;
}

}  // namespace

TEST(Sweep, EveryPictureIsFoundWhereTheCameraPointed)
{
    for (int32_t direction : {kDirectionRight, kDirectionLeft, kDirectionDown, kDirectionUp}) {
        SCOPED_TRACE(testing::Message() << "direction " << direction);
        Sweep sweep(direction);
        sweep.run();
        const PanoramaCore* core = session_of(sweep.pano.get())->engine->core;
        const double tolerance = 1 << core->levels;
        double length = 0;
        for (int32_t i = 1; i < kPictures; ++i) {
            const Pose from = pose_of(direction, i - 1), to = pose_of(direction, i);
            const double along = projected_turn(direction, std::abs(to.along - from.along));
            const AlignResult& found = core->offsets[core->forward == 1 ? i : i - 1];
            EXPECT_NEAR(found.x, along, tolerance) << "picture " << i;
            // Across the sweep the projection stretches by R / F in the middle.
            const double focal = assumed_focal_length(extent(direction));
            const int32_t sign = core->forward == 1 ? 1 : -1;
            EXPECT_NEAR(found.y, sign * (to.across - from.across) * focal * 1.21, tolerance)
                << "picture " << i;
            length += along;
        }
        const int32_t long_side = pano_is_vertical(direction) ? sweep.panorama.height : sweep.panorama.width;
        const int32_t short_side = pano_is_vertical(direction) ? sweep.panorama.width : sweep.panorama.height;
        EXPECT_NEAR(long_side, extent(direction) + length, 3 * tolerance + 16);
        EXPECT_NEAR(short_side, pano_is_vertical(direction) ? kWidth : kHeight, 32);
        EXPECT_EQ(long_side % 16, 0);
        EXPECT_EQ(short_side % 16, 0);
    }
}

TEST(Sweep, EveryLevelOfTheKernelsMakesTheSamePanorama)
{
    for (int32_t direction : {kDirectionRight, kDirectionUp}) {
        ozr_kernels_set_for_test(&kOzrKernelsScalar);
        const std::vector<uint8_t> want = Sweep(direction).run();
        for (const OzrKernels* const* level = kOzrKernelLevels + 1; *level != nullptr; ++level) {
            if (((*level)->features & ~ozr_cpu_features()) != 0)
                continue;
            ozr_kernels_set_for_test(*level);
            EXPECT_EQ(Sweep(direction).run(), want) << (*level)->level;
        }
    }
    ozr_kernels_set_for_test(nullptr);
}
