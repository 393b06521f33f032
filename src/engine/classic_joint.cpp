#include "engine/classic_joint.h"

#include <algorithm>

#include "core/layout.h"
#include "image/panorama_util.h"

namespace ozr::engine
{

namespace
{

// The share of classic joints that are right, by the square of their correlation: off by at most 2
// percent of the picture's width or height. Straight lines through what simulated sweeps show,
// among them shaken, rolled and mistold ones: docs/quality.md. Even the best are sometimes wrong: a
// wall of windows fits itself a window further.
struct Calibration {
    double square;
    double right;
};
constexpr Calibration kCalibration[] = {{0.0, 0.0}, {0.3, 0.5}, {0.8, 0.7}, {0.9, 0.9}, {1.0, 0.97}};

// From sign(r) * r^2 in Q3.28.
float _confidence_of_score(int32_t score)
{
    const double square = score / static_cast<double>(core::kScoreOne);
    const Calibration* below = kCalibration;
    if (!(square > below->square))
        return 0.0F;
    for (const Calibration& node : kCalibration) {
        if (square < node.square) {
            const double part = (square - below->square) / (node.square - below->square);
            return static_cast<float>(below->right + part * (node.right - below->right));
        }
        below = &node;
    }
    return static_cast<float>(below->right);
}

}  // namespace

bool panorama_engine_classic_joint(const PanoramaInternal* pe, int32_t index, ozr_panorama_joint* joint)
{
    const int32_t slots = std::clamp(pe->count.load(), 0, kMaxPictures);
    if (pe->status != kStatusComposed || index < 0 || index + 1 >= slots)
        return false;
    const PanoramaCore* core = pe->core;
    const AlignResult step = core::step_of(*core, index + 1);
    const bool vertical = is_vertical(pe->direction);  // these were turned clockwise
    // The joint's right picture, counted from the left: the rightmost pictures are left out.
    const int32_t right = core->forward != 0 ? index + 1 : slots - 1 - index;
    *joint = {index,
              index + 1,
              static_cast<float>(vertical ? step.y : step.x),
              static_cast<float>(vertical ? -step.x : step.y),
              -1.0F,
              _confidence_of_score(step.score),
              1.0F,
              right < core->g_nCount ? 1 : 0};
    return true;
}

}  // namespace ozr::engine
