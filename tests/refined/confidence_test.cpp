// Whether a joint's confidence is what it says: over simulated sweeps of many kinds, right
// joints and wrong ones are counted by the confidence they claim. The table is printed: it is
// the one in docs/quality.md.
#include <gtest/gtest.h>

#include <cstdio>

#include "refined/simulated_sweep.h"

namespace
{

constexpr double kOff = 0.02;  // of the picture's width: a joint that is off by more is wrong
// Pixels: classic places are no finer, which is more than that in small pictures.
constexpr double kGrid = 8;
constexpr int32_t kBins = 10;
constexpr int32_t kPictures = 3;

struct Bin {
    int32_t joints;
    int32_t wrong;
};

struct Table {
    Bin bins[kBins];

    void add(float confidence, bool wrong)
    {
        const int32_t bin = std::min(static_cast<int32_t>(confidence * kBins), kBins - 1);
        ++bins[bin].joints;
        bins[bin].wrong += wrong ? 1 : 0;
    }
    // Share of joints that are wrong from one confidence to another, in tenths.
    double wrong(int32_t first, int32_t end) const
    {
        Bin all = {};
        for (int32_t i = first; i < end; ++i)
            all = {all.joints + bins[i].joints, all.wrong + bins[i].wrong};
        return all.joints > 0 ? static_cast<double>(all.wrong) / all.joints : 0.5;
    }
    void print(const char* what) const
    {
        for (int32_t i = 0; i < kBins; ++i)
            std::printf("%s confidence %.1f to %.1f: %3d joints, %3d wrong\n", what, 0.1 * i, 0.1 * i + 0.1,
                        bins[i].joints, bins[i].wrong);
    }
};

// Sweeps of all kinds: any overlap, shaken and rolled, dim and noisy, of faint
// worlds, of strangers, mirrored.
Simulated random_sweep(uint32_t seed)
{
    Random random(seed);
    const auto between = [&](double least, double most) {
        return least + (most - least) * random.below(10001) / 1e4;
    };
    Simulated sweep;
    sweep.width = 320;
    sweep.height = 240;
    sweep.focal = 345 * between(0.8, 1.25);
    const double step = between(2, 38), shake = random.below(2) == 0 ? 0.3 : 3;
    for (int32_t i = 0; i < kPictures; ++i) {
        sweep.views.push_back({step * i, between(-shake, shake), between(-shake, shake)});
        sweep.lights.push_back(between(0.75, 1.3));
        sweep.worlds.push_back(random.below(4) == 0 ? 100 + static_cast<uint32_t>(i) : 1);
    }
    sweep.contrast = random.below(4) == 0 ? 0.02 : between(0.15, 0.4);
    sweep.horizon = random.below(2) == 0 ? 0 : between(20, 60);
    sweep.noise = random.below(3) == 0 ? between(2, 12) : 1;
    return sweep;
}

bool are_of_one_world(const Simulated& sweep, const ozr_panorama_joint& joint)
{
    return sweep.worlds[static_cast<size_t>(joint.first)] == sweep.worlds[static_cast<size_t>(joint.second)];
}

bool is_wrong_refined(const Simulated& sweep, const Found& found, const ozr_panorama_joint& joint)
{
    const double off = turn_error(sweep, found, joint.first, joint.second) * kDegree * sweep.focal;
    return !are_of_one_world(sweep, joint) || off > kOff * sweep.width;
}

// The classic projection has place (x, y) of a picture at R sin(angle), y R cos(angle) / f0 on its
// canvas, with R = 418 / 345 f0 and the angle that of a camera of focal length f0: two pictures
// meet in the middle between them.
bool is_wrong_classic(const Simulated& sweep, const ozr_panorama_joint& joint)
{
    const double assumed = 345, radius = 418;
    const Rotation turn = true_turn(sweep, joint.first, joint.second);
    const double half = 0.5 * std::atan2(turn.m[2], turn.m[8]);
    const double angle = std::atan(sweep.focal * std::tan(half) / assumed);
    const double x = 2 * radius * std::sin(angle);
    const double y = sweep.focal * turn.m[5] / std::hypot(turn.m[2], turn.m[8]) / std::cos(half) * radius *
                     std::cos(angle) / assumed;
    const double off_x = std::fabs(static_cast<double>(joint.offset_x) - x);
    const double off_y = std::fabs(static_cast<double>(joint.offset_y) - y);
    return !are_of_one_world(sweep, joint) || std::max(off_x, off_y) > std::max(kOff * sweep.width, kGrid);
}

}  // namespace

TEST(Confidence, OfRefinedJointsIsHonest)
{
    Table table = {};
    int32_t lost = 0, findable = 0;
    for (uint32_t seed = 1; seed <= 16; ++seed) {
        const Simulated sweep = random_sweep(seed);
        const Found found = find(sweep);
        ASSERT_EQ(found.error, ozr_success) << seed;
        for (const ozr_panorama_joint& joint : found.joints) {
            const bool wrong = joint.used == 0 || is_wrong_refined(sweep, found, joint);
            table.add(joint.confidence, wrong);
            EXPECT_FALSE(wrong && joint.used != 0 && joint.confidence >= 0.5F)
                << "seed " << seed << " joint " << joint.first << " " << joint.second;
            const bool may = are_of_one_world(sweep, joint) && joint.second == joint.first + 1 &&
                             sweep.contrast > 0.1 && sweep.views[1].yaw < 30;
            findable += may ? 1 : 0;
            lost += may && joint.confidence < 0.5F ? 1 : 0;
        }
    }
    table.print("refined");
    EXPECT_GT(findable, 8);
    EXPECT_EQ(lost, 0);
}

TEST(Confidence, OfClassicJointsIsCalibrated)
{
    Table table = {};
    for (uint32_t seed = 1; seed <= 80; ++seed) {
        Simulated sweep = random_sweep(seed);
        if (sweep.contrast < 0.1)
            sweep.horizon = 0;  // a bare horizon correlates anywhere along it: no score can tell
        const Found found = find(sweep, ozr_panorama_direction_right, ozr_panorama_quality_classic);
        for (const ozr_panorama_joint& joint : found.joints)
            table.add(joint.confidence, is_wrong_classic(sweep, joint));
    }
    table.print("classic");
    EXPECT_GT(table.wrong(0, 4), 0.7);
    EXPECT_GT(table.wrong(4, 6), 0.3);
    EXPECT_LT(table.wrong(4, 6), 0.7);
    EXPECT_LT(table.wrong(8, 10), 0.2);
}
