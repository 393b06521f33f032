#include "refined/sight.h"

#include "image/pano_result.h"

namespace ozr::refined
{

namespace
{

// Longer sides: of the base, whose pixels are fine enough to measure in, and of the size at which
// every shift is tried.
constexpr int32_t kBaseSide = 1000;
constexpr int32_t kCoarseSide = 96;

int32_t _coarse_level(const Sight& sight)
{
    return level_within(sight.pyramid, kCoarseSide);
}

}  // namespace

// In whole blocks of 32 columns, 34.5 pixels each: kept, so that both qualities assume the same.
double assumed_focal(int32_t width)
{
    const int32_t blocks = (width - width % 8) >> 5;
    const int32_t focal = blocks * 345 / 10;
    return blocks > 0 ? focal : 1.078 * width;
}

double assumed_base_focal(const Sight& sight)
{
    return assumed_focal(sight.pyramid.levels[0].width) / sight.base_scale();
}

PanoResult unroll_pair(const Sight& sight, double roll, UnrolledPair* unrolled)
{
    const int32_t coarse = _coarse_level(sight);
    const int32_t fine = coarse > 0 ? coarse - 1 : 0;
    const double focal = assumed_focal(sight.pyramid.levels[0].width);
    PANO_FORWARD(unroll(sight.pyramid.levels[coarse], focal / static_cast<double>(1 << coarse), roll,
                        &unrolled->coarse));
    return unroll(sight.pyramid.levels[fine], focal / static_cast<double>(1 << fine), roll, &unrolled->fine);
}

PanoResult look_at(Sight* sight)
{
    sight->base = level_within(sight->pyramid, kBaseSide);
    // The rough search works at two sizes, the coarser half the finer.
    sight->is_plain = sight->base + kSearchLevels >= sight->pyramid.count || _coarse_level(*sight) == 0;
    if (sight->is_plain)
        return kPanoSuccess;
    PANO_FORWARD(find_corners(sight->plane(1), &sight->corners));
    return unroll_pair(*sight, 0.0, &sight->unrolled);
}

}  // namespace ozr::refined
