// The light of a sweep: how each picture was exposed, and what the lens loses towards
// the corners.
//
// The logarithm of a place's light is that of the scene, plus what the picture's exposure adds,
// less what the lens takes away. Where two pictures show the same place, the scene drops out: one
// linear equation for the exposures of both and the two terms of the falloff, which all pictures
// share. Places that differ for other reasons, such as people who walk, count little.
#ifndef REFINED_LIGHT_FIT_H
#define REFINED_LIGHT_FIT_H

#include <algorithm>

#include "base/limits.h"
#include "base/plane.h"
#include "refined/normal_equations.h"
#include "refined/view.h"

namespace ozr::refined
{

// What a picture has in one place.
struct Light {
    float level;   // logarithm; 0 where the place does not count
    float spread;  // square of the distance from the middle, 1 at the corners
};

struct LightSolution {
    double exposures[kMaxPictures];  // logarithms
    Falloff falloff;
};

// One round of the fit: equations count less, the further their errors with the solution so far are
// beyond `scale`.
class LightRound
{
public:
    LightRound(int32_t pictures, double falloff_prior, const LightSolution& so_far, double scale);

    // `count` places that picture `a` shows and, at the same index, a later picture `b`.
    void add(int32_t a, int32_t b, const Light* in_a, const Light* in_b, int32_t count);

    LightSolution solve();

private:
    static constexpr int32_t kTerms = 2;  // of the falloff; they follow the exposures
    static constexpr int32_t kUnknowns = kMaxPictures + kTerms;

    int32_t pictures_;
    const LightSolution& so_far_;
    double scale_;
    NormalEquations<kUnknowns> equations_ = {};
};

// `add_all(&round)` adds all places to a round. A lens loses little: `falloff_prior` places say so,
// each with an error of 1, which decide where the others do not.
template <class AddAll>
LightSolution fit_light(int32_t pictures, double falloff_prior, const AddAll& add_all)
{
    constexpr double kScales[] = {1.0, 0.5, 0.25, 0.12, 0.06, 0.06};  // logarithms
    LightSolution solution = {};
    for (const double scale : kScales) {
        LightRound round(pictures, falloff_prior, solution, scale);
        add_all(&round);
        solution = round.solve();
    }
    return solution;
}

constexpr int32_t kLightBits = 4;  // of a level, where light is read between pixels

// What a level of a pyramid has at a place of the picture, between four pixels; 0 where one is too
// dark for a ratio, which is mostly noise then, or so bright that it may be clipped.
inline int32_t light_at(const ConstPlane& plane, int32_t level, const NodePlace& place)
{
    constexpr int32_t kDarkest = 8, kBrightest = 248;
    constexpr int32_t kHalf = 1 << (kNodePlaceBits - 1), kBits = 6, kOne = 1 << kBits;
    constexpr int32_t kDropped = kNodePlaceBits - kBits;
    const int32_t x = std::min(std::max(((place.x + kHalf) >> level) - kHalf, 0) >> kDropped,
                               ((plane.width - 1) << kBits) - 1);
    const int32_t y = std::min(std::max(((place.y + kHalf) >> level) - kHalf, 0) >> kDropped,
                               ((plane.height - 1) << kBits) - 1);
    const uint8_t *top = plane.row(y >> kBits) + (x >> kBits), *bottom = top + plane.stride;
    const int32_t darkest = std::min(std::min(top[0], top[1]), std::min(bottom[0], bottom[1]));
    const int32_t brightest = std::max(std::max(top[0], top[1]), std::max(bottom[0], bottom[1]));
    if (darkest < kDarkest || brightest > kBrightest)
        return 0;
    const int32_t across = x & (kOne - 1), down = y & (kOne - 1);
    const int32_t upper = top[0] * (kOne - across) + top[1] * across;
    const int32_t lower = bottom[0] * (kOne - across) + bottom[1] * across;
    return (upper * (kOne - down) + lower * down) >> (2 * kBits - kLightBits);
}

// The logarithm of a mean that was read at a level of a pyramid.
float logarithm_of_light(double mean, int32_t level);

}  // namespace ozr::refined

#endif
