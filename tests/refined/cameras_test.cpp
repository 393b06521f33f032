// The cameras of simulated sweeps, found through the public interface, against the truth; and what must never happen: a
// wrong joint that claims to be right, a leak, a call that goes on after it was asked to stop.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "kernels/cpu.h"
#include "kernels/kernels.h"
#include "refined/adjust.h"
#include "refined/elementary.h"
#include "refined/simulated_sweep.h"
#include "support/random.h"
#include "support/wrapped_heap.h"

namespace
{

double turn_error(const Simulated& sweep, const Found& found, size_t first, size_t second)
{
    const Rotation want =
        inverse(rotation_of_pose(sweep.views[first])) * rotation_of_pose(sweep.views[second]);
    const Rotation got = inverse(rotation_of_camera(found.cameras[first], sweep.vertical)) *
                         rotation_of_camera(found.cameras[second], sweep.vertical);
    return angle_of(inverse(want) * got);
}

// Every picture against the one before and against the first, because the world may have been turned as a whole. A pixel of
// these small pictures is a ninth of a degree, and a focal length that is off adds up along the sweep.
void expect_true_cameras(const Simulated& sweep, const Found& found)
{
    ASSERT_EQ(found.error, ozr_success);
    ASSERT_EQ(found.cameras.size(), sweep.views.size());
    for (size_t i = 0; i < found.cameras.size(); ++i) {
        EXPECT_EQ(found.cameras[i].used, 1) << i;
        EXPECT_NEAR(static_cast<double>(found.cameras[i].focal_length) / sweep.focal, 1, 0.005) << i;
        EXPECT_LT(turn_error(sweep, found, i > 0 ? i - 1 : 0, i), 0.05) << i;
        EXPECT_LT(turn_error(sweep, found, 0, i), 0.12) << i;
    }
    for (const ozr_panorama_joint& joint : found.joints)
        EXPECT_GE(joint.confidence, 0.5F) << joint.first << " " << joint.second;
}

}  // namespace

struct Case {
    const char* what;
    Simulated sweep;
};

TEST(RefinedCameras, AreThoseOfTheSweep)
{
    std::vector<Case> cases = {
        {"plain", Simulated::pan(5, 14)},          {"to the left", Simulated::pan(5, -14)},
        {"wide", Simulated::pan(5, 22, 0.6)},      {"long", Simulated::pan(6, 6, 2.2)},
        {"little overlap", Simulated::pan(4, 39)}, {"much overlap", Simulated::pan(6, 2.6)}};
    const auto add = [&cases](const char* what) -> Simulated& {
        cases.push_back({what, Simulated::pan(5, 14)});
        return cases.back().sweep;
    };
    add("a bent lens").radial = 0.06;
    add("a lens bent the other way").radial = -0.06;
    add("a shaking hand").views = {{0, 0.5, 1}, {13, -1, -2}, {27, 1.5, 1.5}, {41, 0, -1}, {55, -1, 2}};
    add("neighbours that roll").views = {{0, 0, 0}, {14, 0, 8}, {28, 0, 0}, {42, 0, -6}};
    add("a hand that shakes hard").views = {{0, 3, 3}, {12, -4, -4}, {26, 2, 4}, {42, -3, -3}, {54, 4, 2}};
    add("a camera held up").views = {{0, 20, 0}, {14, 20, 0}, {28, 20, 1}, {42, 20, 0}, {56, 20, -1}};
    add("a pan that swings back").views = {{0, 0, 0}, {14, 0, 0}, {5, 1, 0}, {19, 0, 0}, {33, 0, 0}};
    add("a first step that goes up").views = {{0, 0, 0}, {5, 9, 2}, {17, 1, -1}, {30, -1, 0}};
    add("light that changes by a third").lights = {1, 1.3, 0.75, 1.1, 0.8};
    add("noise at night").noise = 9;
    Simulated down;
    down.vertical = true;
    down.views = {{0, 0, 0}, {0, 11, 0}, {0, 22, 0}, {0, 33, 0}};
    cases.push_back({"upwards", down});
    down.views = {{0, 0, 3}, {1, -10, 0}, {-1, -22, -3}, {0, -33, 1}};
    cases.push_back({"downwards, shaking", down});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        expect_true_cameras(c.sweep, find(c.sweep));
    }
}

// Rows that are read one after the other while the camera moves: what fits no turn goes into a skew of each picture.
TEST(RefinedCameras, KnowShuttersThatRoll)
{
    Simulated sweep = Simulated::pan(5, 14);
    const Found still = find(sweep);
    sweep.motions = {{0.5, 0.1, 0}, {0.3, -0.3, 0}, {0.7, 0.2, 0}, {0.4, -0.2, 0}, {0.6, 0.3, 0}};
    const Found moved = find(sweep);
    ASSERT_EQ(moved.joints.size(), 4U);
    for (size_t i = 0; i < moved.joints.size(); ++i) {
        EXPECT_LT(moved.joints[i].residual, still.joints[i].residual + 0.15F) << i;
        EXPECT_GE(moved.joints[i].confidence, 0.9F) << i;
        EXPECT_NEAR(static_cast<double>(moved.cameras[i].focal_length) / sweep.focal, 1, 0.01) << i;
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
            truth.rotations[i] = rotation_of_pose({i * 8000.0 / truth.focal, between(-2, 2), between(-3, 3)});
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
        ASSERT_EQ(refined::adjust({links.data(), kPictures - 1, kPictures, 690, refined::kLensOfSweep},
                                  {nullptr}, &found),
                  kPanoSuccess);
        EXPECT_NEAR(found.focal / truth.focal, 1, 0.005);
        for (int32_t i = 1; i < kPictures; ++i) {
            const Rotation want = inverse(truth.rotations[0]) * truth.rotations[i];
            const Rotation got = inverse(found.rotations[0]) * found.rotations[i];
            EXPECT_LT(angle_of(inverse(want) * got), 0.15) << i;
        }
    }
}
