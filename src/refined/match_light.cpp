#include "refined/match_light.h"

#include "image/pano_result.h"
#include "refined/elementary.h"
#include "refined/light_fit.h"
#include "support/buffer.h"

namespace ozr::refined
{

namespace
{

// Logarithms of the light in the corners. Sweeps without any falloff were seen to show up to
// 0.05; what is this small moves no patch by more than it is measured with.
constexpr double kLeastLoss = 0.06;
constexpr double kMostLoss = 1.2;

// Matches are few, and far more so where pictures overlap little, or nearly all. With ten times as
// much the falloff of such sweeps came out at half of what it was.
constexpr double kFalloffPrior = 0.3;

// The light at the matches of one pair.
struct PairLight {
    int32_t count;
    Light first[kMaxMatches];
    Light second[kMaxMatches];
};

// Around a place of a match, over about half the width of its patch.
Light _light(const Sight& sight, Place place)
{
    const ConstPlane& full = sight.pyramid.levels[0];
    const int32_t level = sight.base + kSearchLevels;
    const double x = place.x * sight.base_scale(), y = place.y * sight.base_scale();
    const auto node = [](double from_middle, int32_t size) {
        constexpr double kOne = 1 << kNodePlaceBits;
        return nearest_int((from_middle + 0.5 * (size - 1)) * kOne);
    };
    const int32_t light =
        light_at(sight.pyramid.levels[level], level, {node(x, full.width), node(y, full.height)});
    if (light == 0)
        return {};
    const double corner = 0.25 * (static_cast<double>(full.width) * full.width +
                                  static_cast<double>(full.height) * full.height);
    return {logarithm_of_light(light / static_cast<double>(1 << kLightBits), level),
            static_cast<float>((x * x + y * y) / corner)};
}

void _measure(const SweepView& view, const Pair& pair, PairLight* light)
{
    const Matches& matches = pair.match.matches;
    light->count = matches.count;
    for (int32_t i = 0; i < matches.count; ++i) {
        light->first[i] = _light(view.sights[pair.first], matches.at[i].first);
        light->second[i] = _light(view.sights[pair.second], matches.at[i].second);
    }
}

Falloff _limited(const Falloff& falloff)
{
    const double loss = falloff.first + falloff.second;
    if (!(loss >= kLeastLoss))
        return {};
    const double share = loss > kMostLoss ? kMostLoss / loss : 1.0;
    return {share * falloff.first, share * falloff.second};
}

}  // namespace

PanoResult find_falloff(const SweepView& view, const bool* used, Falloff* falloff)
{
    const auto buffer = make_unfilled_buffer<PairLight>(view.count);
    if (!buffer)
        return kPanoNoMemory;
    PairLight* light = buffer.get();
    const auto counts = [&](const Pair& pair) { return pair.match.is_good() && used[pair.first]; };
    for (int32_t i = 0; i < view.count; ++i) {
        light[i].count = 0;
        if (counts(view.pairs[i]))
            _measure(view, view.pairs[i], &light[i]);
    }
    const LightSolution solution = fit_light(view.pictures, kFalloffPrior, [&](LightRound* round) {
        for (int32_t i = 0; i < view.count; ++i)
            round->add(view.pairs[i].first, view.pairs[i].second, light[i].first, light[i].second,
                       light[i].count);
    });
    *falloff = _limited(solution.falloff);
    return kPanoSuccess;
}

}  // namespace ozr::refined
