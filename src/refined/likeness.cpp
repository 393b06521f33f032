#include "refined/likeness.h"

#include <algorithm>
#include <cmath>

#include "refined/patch_aim.h"
#include "refined/patch_search.h"

namespace ozr::refined
{

namespace
{

// The highest of the search's levels that has this many pixels is compared: noise is small there,
// and a lens that is a little off does no harm.
constexpr int32_t kLeastPixels = 8000;

// Patches count by their contrast, up to deviations of four grey levels: a horizon is not to
// outweigh all else.
constexpr double kFullDeviation = 4.0 * kSampleOne;
constexpr double kFullContrast = kFullDeviation * kFullDeviation * kSearchSide * kSearchSide;
constexpr int32_t kLeastPatches = 6;

int32_t _level(const Sight& sight)
{
    int32_t level = kSearchLevels;
    while (level > 0 && int64_t{sight.plane(level).width} * sight.plane(level).height < kLeastPixels)
        --level;
    return level;
}

// The weighted sum of correlations, and the weights.
struct LikenessSum {
    double correlations = 0.0;
    double weights = 0.0;
    int32_t patches = 0;

    void add(const PatchLikeness& likeness)
    {
        ++patches;
        const double contrast = std::sqrt(likeness.first_square * likeness.second_square);
        if (contrast <= 0.0)
            return;
        const double weight = std::min(contrast, kFullContrast);
        correlations += weight * likeness.product / contrast;
        weights += weight;
    }
    double mean() const { return patches >= kLeastPatches && weights > 0.0 ? correlations / weights : 0.0; }
};

}  // namespace

double likeness_of_overlap(const SightPair& sights, const LensPair& lenses)
{
    constexpr int32_t kHalf = kSearchSide / 2;
    const PatchAim aim(sights, lenses);
    const int32_t level = _level(sights.first);
    const ConstPlane& plane = sights.first.plane(level);
    LikenessSum sum;
    for (int32_t y = kHalf; y + kHalf < plane.height; y += kSearchSide) {
        for (int32_t x = kHalf; x + kHalf < plane.width; x += kSearchSide) {
            PatchTask task = {};
            PatchLikeness likeness = {};
            const Place place = aim.first_frame(level).from_level(x, y);
            if (aim.aim(place, {0.0, 0.0}, level, &task) && compare_patch(task, &likeness))
                sum.add(likeness);
        }
    }
    return sum.mean();
}

}  // namespace ozr::refined
