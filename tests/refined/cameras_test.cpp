// The cameras of simulated sweeps, found through the public interface, against the truth; and what must never happen: a
// wrong joint that claims to be right, a leak, a call that goes on after it was asked to stop.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "kernels/cpu.h"
#include "kernels/kernels.h"
#include "ozr_panorama.h"
#include "refined/adjust.h"
#include "refined/angles.h"
#include "refined/elementary.h"
#include "refined/straighten.h"
#include "support/random.h"
#include "support/wrapped_heap.h"

namespace refined = ozr::refined;
using refined::kDegree;
using refined::Rotation;
using refined::Vector;

namespace
{

struct View {
    double yaw;  // degrees to the right
    double pitch;
    double roll;
};

Rotation rotation_of_view(const View& view)
{
    return refined::rotation_about({0, view.yaw * kDegree, 0}) *
           refined::rotation_about({-view.pitch * kDegree, 0, 0}) *
           refined::rotation_about({0, 0, view.roll * kDegree});
}

// A cell of the world is bright or dark by chance; three sizes of cells, blurred at their edges.
double texture(double a, double b, uint32_t seed)
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
    std::vector<View> views;
    std::vector<uint32_t> worlds;  // a picture's own world; 1 unless given
    std::vector<double> lights;    // 1 unless given

    std::vector<uint8_t> picture(size_t index) const
    {
        const Rotation turn = rotation_of_view(views[index]);
        const uint32_t world = index < worlds.size() ? worlds[index] : 1;
        const double light = index < lights.size() ? lights[index] : 1.0;
        std::vector<uint8_t> pixels(static_cast<size_t>(width * height * 3 / 2), 128);
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                const double u = (x - (width - 1) / 2.0) / focal, v = (y - (height - 1) / 2.0) / focal;
                const double d = 1 + radial * (u * u + v * v);
                const Vector ray = turn.turn({u * d, v * d, 1});
                const double heading = vertical ? std::atan2(ray.y, ray.z) : std::atan2(ray.x, ray.z);
                const double up =
                    vertical ? ray.x / std::hypot(ray.y, ray.z) : ray.y / std::hypot(ray.x, ray.z);
                const double level = light * (128 + 0.4 * texture(heading + 8, up + 8, world)) + 0.5;
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

ozr_err take_all(ozr_panorama* pano, const Simulated& sweep, ozr_panorama_direction direction)
{
    const ozr_panorama_parameters params = {70, direction};
    ozr_err error = ozr_panorama_set_parameters(pano, &params);
    if (error == ozr_success)
        error = ozr_panorama_set_quality(pano, ozr_panorama_quality_refined);
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

Found find(const Simulated& sweep, ozr_panorama_direction direction = ozr_panorama_direction_auto)
{
    Found found;
    ozr_panorama* pano = nullptr;
    EXPECT_EQ(ozr_panorama_create(nullptr, &pano), ozr_success);
    found.error = take_all(pano, sweep, direction);
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

double angle_of(const Rotation& r)
{
    return std::acos(std::min(1.0, std::max(-1.0, (r.m[0] + r.m[4] + r.m[8] - 1) / 2))) / kDegree;
}

Rotation rotation_of_camera(const ozr_panorama_camera& camera, bool vertical)
{
    const double yaw = static_cast<double>(camera.yaw), pitch = static_cast<double>(camera.pitch),
                 roll = static_cast<double>(camera.roll);
    if (!vertical)
        return rotation_of_view({yaw, pitch, roll});
    return refined::rotation_about({-pitch * kDegree, 0, 0}) *
           refined::rotation_about({0, yaw * kDegree, 0}) * refined::rotation_about({0, 0, roll * kDegree});
}

// Every picture against the first: the world may have been turned as a whole. A pixel of these small pictures is a ninth of
// a degree, and errors add up along the sweep.
void expect_true_cameras(const Simulated& sweep, const Found& found, double degrees = 0.12)
{
    ASSERT_EQ(found.error, ozr_success);
    ASSERT_EQ(found.cameras.size(), sweep.views.size());
    for (size_t i = 0; i < found.cameras.size(); ++i) {
        EXPECT_EQ(found.cameras[i].used, 1) << i;
        EXPECT_NEAR(static_cast<double>(found.cameras[i].focal_length) / sweep.focal, 1, 0.005) << i;
        const Rotation want = inverse(rotation_of_view(sweep.views[0])) * rotation_of_view(sweep.views[i]);
        const Rotation got = inverse(rotation_of_camera(found.cameras[0], sweep.vertical)) *
                             rotation_of_camera(found.cameras[i], sweep.vertical);
        EXPECT_LT(angle_of(inverse(want) * got), degrees) << i;
    }
    for (const ozr_panorama_joint& joint : found.joints)
        EXPECT_GE(joint.confidence, 0.5F) << joint.first << " " << joint.second;
}

}  // namespace

TEST(RefinedCameras, AreThoseOfTheSweep)
{
    struct Case {
        const char* what;
        Simulated sweep;
    };
    std::vector<Case> cases = {
        {"plain", Simulated::pan(5, 14)},          {"to the left", Simulated::pan(5, -14)},
        {"wide", Simulated::pan(5, 22, 0.6)},      {"long", Simulated::pan(6, 6, 2.2)},
        {"little overlap", Simulated::pan(4, 36)}, {"much overlap", Simulated::pan(6, 2.6)}};
    Simulated bent = Simulated::pan(5, 14);
    bent.radial = 0.06;
    cases.push_back({"a bent lens", bent});
    Simulated shaken = Simulated::pan(5, 14);
    shaken.views = {{0, 0.5, 1}, {13, -1, -2}, {27, 1.5, 1.5}, {41, 0, -1}, {55, -1, 2}};
    cases.push_back({"a shaking hand", shaken});
    Simulated lit = Simulated::pan(4, 14);
    lit.lights = {1, 1.3, 0.75, 1.1};
    cases.push_back({"light that changes by a third", lit});
    Simulated down;
    down.vertical = true;
    down.views = {{0, 0, 0}, {0, 11, 0}, {0, 22, 0}, {0, 33, 0}};
    cases.push_back({"downwards", down});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        expect_true_cameras(c.sweep, find(c.sweep));
    }
}

TEST(RefinedCameras, DoNotNeedTheRightDirection)
{
    const Simulated sweep = Simulated::pan(4, -14);
    for (const auto direction : {ozr_panorama_direction_right, ozr_panorama_direction_left,
                                 ozr_panorama_direction_down, ozr_panorama_direction_up}) {
        SCOPED_TRACE(direction);
        expect_true_cameras(sweep, find(sweep, direction));
    }
}

TEST(RefinedCameras, FollowNeighboursThatRoll)
{
    Simulated sweep = Simulated::pan(4, 14);
    sweep.views[1].roll = 8;
    sweep.views[3].roll = -6;
    expect_true_cameras(sweep, find(sweep));
}

TEST(RefinedCameras, LeaveOutWhatDoesNotBelongAndBridgeIt)
{
    Simulated sweep = Simulated::pan(5, 12);
    sweep.worlds = {1, 1, 77, 1, 1};
    const Found found = find(sweep);
    ASSERT_EQ(found.error, ozr_success);
    ASSERT_EQ(found.cameras.size(), 5U);
    for (size_t i = 0; i < 5; ++i)
        EXPECT_EQ(found.cameras[i].used, i == 2 ? 0 : 1) << i;
    for (const ozr_panorama_joint& joint : found.joints) {
        const bool strange = joint.first == 2 || joint.second == 2;
        EXPECT_EQ(joint.used, strange ? 0 : 1);
        EXPECT_EQ(joint.confidence < 0.5F, strange) << joint.first << " " << joint.second;
    }
}

TEST(RefinedCameras, TrustNoJointOfPicturesThatShareNothing)
{
    for (uint32_t seed = 1; seed <= 6; ++seed) {
        SCOPED_TRACE(seed);
        Simulated sweep = Simulated::pan(3, 14);
        sweep.worlds = {seed, seed + 100, seed + 200};
        const Found found = find(sweep);
        ASSERT_EQ(found.error, ozr_success);
        for (const ozr_panorama_joint& joint : found.joints) {
            EXPECT_LT(joint.confidence, 0.5F);
            EXPECT_EQ(joint.used, 0);
        }
        EXPECT_GT(found.panorama.width, sweep.width / 2);
    }
}

TEST(RefinedCameras, ComposeFlatAndIdenticalPictures)
{
    Simulated flat = Simulated::pan(3, 14);
    flat.lights = {0, 0, 0};
    const Found dark = find(flat);
    EXPECT_EQ(dark.error, ozr_success);
    for (const ozr_panorama_joint& joint : dark.joints)
        EXPECT_LT(joint.confidence, 0.5F);
    const Found same = find(Simulated::pan(3, 0));
    EXPECT_EQ(same.error, ozr_success);
    for (const ozr_panorama_joint& joint : same.joints) {
        EXPECT_NEAR(joint.offset_x, 0, 0.5);
        EXPECT_GE(joint.confidence, 0.5F);
    }
}

TEST(RefinedCameras, SurviveEveryFailingAllocation)
{
    Simulated sweep = Simulated::pan(3, 14);
    sweep.width = 160;
    sweep.height = 120;
    sweep.focal = 172;
    std::vector<std::vector<uint8_t>> pictures;
    for (size_t i = 0; i < sweep.views.size(); ++i)
        pictures.push_back(sweep.picture(i));
    int64_t failing = 1;
    for (bool failed = true; failed; failing += failing < 40 ? 1 : 7) {
        SCOPED_TRACE(failing);
        WrappedHeap heap(failing);
        ozr_panorama* pano = nullptr;
        ozr_err error = ozr_panorama_create(nullptr, &pano);
        if (error == ozr_success)
            error = ozr_panorama_set_quality(pano, ozr_panorama_quality_refined);
        for (size_t i = 0; i < pictures.size() && error == ozr_success; ++i) {
            ozr_image image = {pictures[i].data(),
                               static_cast<int32_t>(pictures[i].size()),
                               sweep.width,
                               sweep.height,
                               ozr_image_format_nv12,
                               sweep.width,
                               0};
            error = ozr_panorama_stitch_one_image(pano, &image, nullptr);
        }
        ozr_image panorama = {};
        if (error == ozr_success)
            error = ozr_panorama_run(pano, &panorama);
        failed = heap.allocations() >= failing;
        ozr_panorama_destroy(pano);
        EXPECT_EQ(error, failed ? ozr_err_nomem : ozr_success);
        EXPECT_EQ(heap.live_blocks(), 0);
    }
    EXPECT_GT(failing, 100);
}

TEST(RefinedCameras, AreTheSameAtEveryKernelLevel)
{
    namespace kernels = ozr::kernels;
    Simulated sweep = Simulated::pan(3, 14);
    sweep.views[1].roll = 6;
    kernels::set_for_test(&kernels::kScalarKernels);
    const Found want = find(sweep);
    EXPECT_EQ(want.cameras.size(), 3U);
    for (const kernels::Kernels* const* level = kernels::kLevels; *level != nullptr; ++level) {
        if (((*level)->features & ~kernels::cpu_features()) != 0)
            continue;
        SCOPED_TRACE((*level)->level);
        kernels::set_for_test(*level);
        const Found got = find(sweep);
        EXPECT_EQ(got.pixels, want.pixels);
        ASSERT_EQ(got.cameras.size(), want.cameras.size());
        EXPECT_EQ(
            memcmp(got.cameras.data(), want.cameras.data(), want.cameras.size() * sizeof(want.cameras[0])),
            0);
    }
    kernels::set_for_test(nullptr);
}

TEST(RefinedQuality, IsChosenBetweenSweepsOnly)
{
    ozr_panorama* pano = nullptr;
    ASSERT_EQ(ozr_panorama_create(nullptr, &pano), ozr_success);
    EXPECT_EQ(ozr_panorama_set_quality(nullptr, ozr_panorama_quality_refined), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_panorama_set_quality(pano, static_cast<ozr_panorama_quality>(2)), ozr_err_not_supported);
    ozr_panorama_joint joint;
    ozr_panorama_camera camera;
    EXPECT_EQ(ozr_panorama_get_joint(pano, 0, &joint), ozr_err_invalid_status);
    EXPECT_EQ(ozr_panorama_get_camera(pano, 0, &camera), ozr_err_invalid_status);
    const Simulated sweep = Simulated::pan(2, 14);
    EXPECT_EQ(take_all(pano, sweep, ozr_panorama_direction_auto), ozr_success);
    EXPECT_EQ(ozr_panorama_set_quality(pano, ozr_panorama_quality_classic), ozr_err_invalid_status);
    ozr_image panorama = {};
    EXPECT_EQ(ozr_panorama_run(pano, &panorama), ozr_success);
    EXPECT_EQ(panorama.width % 2 + panorama.height % 2, 0);
    EXPECT_EQ(ozr_panorama_get_joint(pano, 0, &joint), ozr_success);
    EXPECT_EQ(ozr_panorama_get_joint(pano, 1, &joint), ozr_err_out_of_bound);
    EXPECT_EQ(ozr_panorama_get_joint(pano, -1, &joint), ozr_err_out_of_bound);
    EXPECT_EQ(ozr_panorama_get_camera(pano, 2, &camera), ozr_err_out_of_bound);
    EXPECT_EQ(ozr_panorama_reset(pano), ozr_success);
    // Classic again: the second picture needs a direction.
    std::vector<uint8_t> pixels = sweep.picture(0);
    ozr_image image = {pixels.data(),
                       static_cast<int32_t>(pixels.size()),
                       sweep.width,
                       sweep.height,
                       ozr_image_format_nv12,
                       sweep.width,
                       0};
    EXPECT_EQ(ozr_panorama_stitch_one_image(pano, &image, nullptr), ozr_success);
    EXPECT_EQ(ozr_panorama_stitch_one_image(pano, &image, nullptr), ozr_err_invalid_status);
    ozr_panorama_destroy(pano);
}

TEST(RefinedAdjustment, FindsRandomCamerasDespiteWrongMatches)
{
    for (uint32_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto between = [&](double least, double most) {
            return least + (most - least) * random.below(10001) / 1e4;
        };
        refined::Lenses truth = {};
        truth.focal = between(400, 1400);
        truth.radial = between(-0.05, 0.05);
        constexpr int32_t kPictures = 5, kMatches = 90;
        for (int32_t i = 0; i < kPictures; ++i)
            truth.rotations[i] = rotation_of_view({i * 8000.0 / truth.focal, between(-2, 2), between(-3, 3)});
        std::vector<refined::Match> matches[kPictures - 1];
        std::vector<refined::Link> links;
        for (int32_t i = 0; i + 1 < kPictures; ++i) {
            const refined::LensPair pair = refined::lens_pair(truth, i, i + 1);
            while (static_cast<int32_t>(matches[i].size()) < kMatches) {
                refined::Match match = {{between(-320, 320), between(-240, 240)}, {}};
                if (!refined::place_in_second(pair, match.first, &match.second) ||
                    std::fabs(match.second.x) > 320)
                    continue;
                const bool wrong = matches[i].size() % 5 == 0;
                match.second.x += wrong ? between(-60, 60) : between(-0.1, 0.1);
                match.second.y += wrong ? between(-60, 60) : between(-0.1, 0.1);
                matches[i].push_back(match);
            }
            refined::Place middle = {};
            refined::place_in_second(pair, {60, 0}, &middle);
            links.push_back({i, i + 1, {{60, 0}, middle, 0}, kMatches, matches[i].data()});
        }
        refined::Lenses found;
        ASSERT_EQ(refined::adjust(links.data(), kPictures - 1, kPictures, 690, refined::kLensOfSweep,
                                  {nullptr}, &found),
                  0);
        EXPECT_NEAR(found.focal / truth.focal, 1, 0.005);
        for (int32_t i = 1; i < kPictures; ++i) {
            const Rotation want = inverse(truth.rotations[0]) * truth.rotations[i];
            const Rotation got = inverse(found.rotations[0]) * found.rotations[i];
            EXPECT_LT(angle_of(inverse(want) * got), 0.15) << i;
        }
    }
}
