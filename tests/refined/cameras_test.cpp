// The cameras of simulated sweeps, found through the public interface, against the truth; and
// what must never happen: a wrong joint that claims to be right, a leak, a call that goes on
// after it was asked to stop.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>

#include "kernels/cpu.h"
#include "kernels/kernels.h"
#include "refined/simulated_sweep.h"
#include "support/wrapped_heap.h"

namespace
{

// Every picture against the one before and against the first, because the world may have been
// turned as a whole. A pixel of these small pictures is a ninth of a degree, and a focal length
// that is off adds up along the sweep.
void expect_true_cameras(const Simulated& sweep, const Found& found)
{
    ASSERT_EQ(found.error, ozr_success);
    ASSERT_EQ(found.cameras.size(), sweep.views.size());
    for (int32_t i = 0; i < static_cast<int32_t>(found.cameras.size()); ++i) {
        const ozr_panorama_camera& camera = found.cameras[static_cast<size_t>(i)];
        EXPECT_EQ(camera.used, 1) << i;
        EXPECT_NEAR(static_cast<double>(camera.focal_length) / sweep.focal, 1, 0.005) << i;
        EXPECT_LT(turn_error(sweep, found, std::max(i - 1, 0), i), 0.05) << i;
        EXPECT_LT(turn_error(sweep, found, 0, i), 0.12) << i;
    }
    for (const ozr_panorama_joint& joint : found.joints) {
        SCOPED_TRACE(testing::Message() << joint.first << " " << joint.second);
        EXPECT_GE(joint.confidence, 0.5F);
        EXPECT_GE(joint.residual, 0);
        EXPECT_LT(joint.residual, 0.7F);
    }
    ASSERT_FALSE(found.near.empty());
    EXPECT_GT(found.near[0], 0.5);
}

}  // namespace

struct Case {
    const char* what;
    Simulated sweep;
    ozr_panorama_direction declared = ozr_panorama_direction_auto;
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
    for (const auto direction : {ozr_panorama_direction_right, ozr_panorama_direction_left,
                                 ozr_panorama_direction_down, ozr_panorama_direction_up})
        cases.push_back({"to the left, whatever is declared", Simulated::pan(4, -14), direction});
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.what << ", declared " << c.declared);
        expect_true_cameras(c.sweep, find(c.sweep, c.declared));
    }
}

// Rows that are read one after the other while the camera moves: what fits no turn goes
// into a skew of each picture.
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

// Each pixel becomes the mean of so many to the right of it; of all, the picture is flat.
static void _blur(int32_t pixels, const PanoImg& img)
{
    for (int32_t y = 0; y < img.height; ++y) {
        uint8_t* row = ozr::pano_row(&img, y);
        for (int32_t x = 0; x < img.width; ++x) {
            const int32_t count = std::min(pixels, img.width - x);
            row[x] = pixels < img.width
                         ? static_cast<uint8_t>(std::accumulate(row + x, row + x + count, 0) / count)
                         : uint8_t{70};
        }
    }
}

// Over a picture that nothing, or only one of its neighbours, can be matched with: no other
// is lost.
TEST(RefinedCameras, AreBridged)
{
    Simulated across = Simulated::pan(4, 12);
    across.width = 320;
    across.height = 240;
    across.focal = 345;
    Simulated up = across;
    up.vertical = true;
    up.views = {{0, 0, 0}, {0, 9, 0}, {0, 18, 0}, {0, 27, 0}};
    for (const Simulated* sweep : {&across, &up}) {
        for (const int32_t blur : {25, 320}) {
            for (const int32_t bad : {1, 2}) {
                SCOPED_TRACE(testing::Message()
                             << bad << " blurred by " << blur << ", up " << sweep->vertical);
                std::deque<Photograph> pictures = photographs(*sweep);
                _blur(blur, pictures[static_cast<size_t>(bad)].img);
                const Found found = find(pictures);
                ASSERT_EQ(found.cameras.size(), 4U);
                for (const int32_t i : {0, 3 - bad, 3})
                    EXPECT_EQ(found.cameras[static_cast<size_t>(i)].used, 1) << i;
                EXPECT_LT(turn_error(*sweep, found, 0, 3 - bad), 0.3);
                EXPECT_LT(turn_error(*sweep, found, 3 - bad, 3), 0.3);
            }
        }
    }
}

// Of pictures that share nothing, or show nothing.
TEST(RefinedCameras, TrustNoJointOfStrangersOrDarkness)
{
    std::vector<Simulated> sweeps(7, Simulated::pan(3, 14));
    for (uint32_t seed = 1; seed <= 6; ++seed)
        sweeps[seed].worlds = {seed, seed + 100, seed + 200};
    sweeps[0].lights = {0, 0, 0};
    for (const Simulated& sweep : sweeps) {
        SCOPED_TRACE(&sweep - sweeps.data());
        const Found found = find(sweep);
        ASSERT_EQ(found.error, ozr_success);
        for (const ozr_panorama_joint& joint : found.joints) {
            EXPECT_LT(joint.confidence, 0.5F);
            EXPECT_EQ(joint.used, 0);
        }
        EXPECT_GT(found.panorama.width, sweep.width / 2);
    }
}

TEST(RefinedCameras, FindIdenticalPicturesInOnePlace)
{
    const Found same = find(Simulated::pan(3, 0));
    ASSERT_EQ(same.error, ozr_success);
    EXPECT_FALSE(same.joints.empty());
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
    const std::deque<Photograph> pictures = photographs(sweep);
    int64_t failing = 0;
    for (bool failed = true; failed;) {
        SCOPED_TRACE(++failing);
        WrappedHeap heap(failing);
        ozr_panorama* pano = nullptr;
        ozr_err error = ozr_panorama_create(nullptr, &pano);
        if (error == ozr_success)
            error = take_all(pano, pictures);
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

TEST(RefinedQuality, IsTheSameAtEveryKernelLevel)
{
    namespace kernels = ozr::kernels;
    Simulated sweep = Simulated::pan(3, 14);
    sweep.views[1].roll = 6;
    sweep.is_coloured = true;
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
    const Handle handle = create_panorama();
    ozr_panorama* pano = handle.get();
    EXPECT_EQ(ozr_panorama_set_quality(nullptr, ozr_panorama_quality_refined), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_panorama_set_quality(pano, static_cast<ozr_panorama_quality>(2)), ozr_err_not_supported);
    ozr_panorama_joint joint;
    ozr_panorama_camera camera;
    EXPECT_EQ(ozr_panorama_get_joint(pano, 0, &joint), ozr_err_invalid_status);
    EXPECT_EQ(ozr_panorama_get_camera(pano, 0, &camera), ozr_err_invalid_status);
    const std::deque<Photograph> pictures = photographs(Simulated::pan(2, 14));
    EXPECT_EQ(take_all(pano, pictures), ozr_success);
    EXPECT_EQ(ozr_panorama_set_quality(pano, ozr_panorama_quality_classic), ozr_err_invalid_status);
    ozr_image panorama = {};
    EXPECT_EQ(ozr_panorama_run(pano, &panorama), ozr_success);
    EXPECT_EQ(panorama.width % 2 + panorama.height % 2, 0);
    EXPECT_EQ(ozr_panorama_get_joint(pano, 0, &joint), ozr_success);
    EXPECT_EQ(ozr_panorama_get_joint(pano, 1, &joint), ozr_err_out_of_bound);
    EXPECT_EQ(ozr_panorama_get_joint(pano, -1, &joint), ozr_err_out_of_bound);
    EXPECT_EQ(ozr_panorama_get_camera(pano, 2, &camera), ozr_err_out_of_bound);
    EXPECT_EQ(ozr_panorama_get_camera(pano, -1, &camera), ozr_err_out_of_bound);
    EXPECT_EQ(ozr_panorama_reset(pano), ozr_success);
    // Classic again: the second picture needs a direction.
    EXPECT_EQ(stitch(pano, pictures[0]), ozr_success);
    EXPECT_EQ(stitch(pano, pictures[1]), ozr_err_invalid_status);
}
