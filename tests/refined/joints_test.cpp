// What is said of a sweep and its cameras, and what is known of them when everything is turned.
#include <gtest/gtest.h>

#include <memory>

#include "refined/joints.h"
#include "refined/orientation.h"
#include "refined/patch_aim.h"
#include "refined/simulated_camera.h"

using namespace ozr;
using namespace ozr::refined;

// Three pictures, compared in the order 0 1, 0 2, 1 2, round the back of the cylinder as well.
TEST(Joints, AreTheStepsOfTheMiddlesOnTheCylinder)
{
    constexpr double kRadius = 900;
    const Pose sweeps[][3] = {{{-12, 3, 1}, {5, -14, 4}, {21, 9, -6}},
                              {{165, 2, 0}, {-178, 8, 2}, {171, -5, -3}}};
    for (const Pose(&poses)[3] : sweeps) {
        Camera cameras[3];
        for (int32_t i = 0; i < 3; ++i) {
            cameras[i] = camera_of_pose(poses[i], 1000, 0);
            cameras[i].gain = 1 + i;
        }
        std::vector<Sight> sights(3);
        std::vector<Pair> pairs(3);
        const int32_t order[3][2] = {{0, 1}, {0, 2}, {1, 2}}, joints[3] = {0, 2, 1};
        for (size_t i = 0; i < 3; ++i) {
            sights[i].base = 1;
            pairs[i].first = order[i][0];
            pairs[i].second = order[i][1];
            pairs[i].match.matches.count = pairs[i].match.near = 40;
            pairs[i].match.residual = 0.25;
        }
        DrawReport drawn = {};
        drawn.radius = kRadius;
        for (const bool turned : {false, true}) {
            const SweepInside sweep = {sights.data(), 3, turned, pairs.data(), 3, cameras, nullptr, &drawn};
            for (size_t i = 0; i < 3; ++i) {
                ozr_panorama_joint joint;
                ASSERT_TRUE(joint_of(sweep, joints[i], &joint));
                const Vector from = cameras[order[i][0]].rotation.column(2),
                             to = cameras[order[i][1]].rotation.column(2);
                const double along = kRadius * std::remainder(heading_of(to) - heading_of(from), 2 * kPi),
                             across = kRadius * (height_of(to) - height_of(from));
                EXPECT_EQ(joint.first, order[i][0]);
                EXPECT_EQ(joint.second, order[i][1]);
                EXPECT_NEAR(joint.offset_x, turned ? across : along, 1e-3);
                EXPECT_NEAR(joint.offset_y, turned ? -along : across, 1e-3);
                EXPECT_EQ(joint.residual, 0.5F);
                EXPECT_EQ(joint.gain, (1.0F + static_cast<float>(joint.second)) /
                                          (1.0F + static_cast<float>(joint.first)));
            }
            ozr_panorama_joint none;
            EXPECT_FALSE(joint_of(sweep, 3, &none));
        }
    }
}

// Where a place shows in another picture does not depend on how both are held.
TEST(Orientation, TurnsAllThatWasFoundAlike)
{
    Random random(5);
    Solution solution = {};
    solution.lenses.focal = 500;
    solution.lenses.radial = 0.05;
    for (int32_t i = 0; i < 2; ++i) {
        solution.lenses.rotations[i] = rotation_of_pose({12.0 * i, 3.0 - 5 * i, 4.0 * i});
        solution.lenses.zooms[i] = 0.01 * i;
    }
    solution.lenses.skews[0] = {0.004, -0.006};
    solution.lenses.skews[1] = {-0.003, 0.005};
    for (const bool clockwise : {true, false}) {
        Solution turned = solution;
        turn_solution(clockwise, 2, &turned);
        for (int32_t i = 0; i < 100; ++i) {
            PairMatch match = {};
            Match& found = match.matches.at[0];
            match.matches.count = 1;
            const Place place = {random.below(400) - 200.0, random.below(300) - 150.0};
            found.first = place;
            ASSERT_TRUE(place_in_second(lens_pair(solution.lenses, 0, 1), found.first, &found.second));
            match.guess.first = found.first;
            match.guess.second = found.second;
            turn_match(clockwise, &match);
            EXPECT_EQ(found.first.x, clockwise ? -place.y : place.y);
            EXPECT_EQ(found.first.y, clockwise ? place.x : -place.x);
            EXPECT_EQ(match.guess.second.x, found.second.x);
            EXPECT_EQ(match.guess.second.y, found.second.y);
            Place shown;
            ASSERT_TRUE(place_in_second(lens_pair(turned.lenses, 0, 1), found.first, &shown));
            EXPECT_NEAR(shown.x, found.second.x, 1e-9);
            EXPECT_NEAR(shown.y, found.second.y, 1e-9);
        }
    }
}

// Against the light that the lens leaves a step to the right and a step down.
TEST(PatchAim, KnowsHowLightGrowsAcrossAPatch)
{
    constexpr double kMiddleX = 320, kMiddleY = 240;
    const LensPair lenses = {rotation_of_pose({-9, 4, 3}), 560, 560, 0, {}, {}, {0.5, 0.2}};
    Sight first = {}, second = {};
    for (Sight* sight : {&first, &second}) {
        sight->base = 0;
        sight->pyramid.levels[0] = {nullptr, 640, 480, 640};
    }
    const PatchAim aim({first, second}, lenses);
    const auto light = [&](Place place) {
        const double spread =
            (place.x * place.x + place.y * place.y) / (kMiddleX * kMiddleX + kMiddleY * kMiddleY);
        return -(lenses.falloff.first + lenses.falloff.second * spread) * spread;
    };
    const auto grown = [&](Place place) {
        Place shown = {};
        EXPECT_TRUE(place_in_second(lenses, place, &shown));
        return light(shown) - light(place);
    };
    for (const Place middle : {Place{-200.5, 100.5}, {50.5, -150.5}, {150.5, 0.5}}) {
        PatchTask task = {};
        ASSERT_TRUE(aim.aim(middle, {0, 0}, 0, &task));
        const PatchFade fade = aim.fade(0, task);
        EXPECT_NEAR(fade.right, (grown({middle.x + 1, middle.y}) - grown({middle.x - 1, middle.y})) / 2,
                    2e-5);
        EXPECT_NEAR(fade.down, (grown({middle.x, middle.y + 1}) - grown({middle.x, middle.y - 1})) / 2, 2e-5);
    }
}
