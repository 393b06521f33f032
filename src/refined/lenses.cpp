#include "refined/lenses.h"

#include "refined/elementary.h"

namespace ozr::refined
{

LinkView link_view(const Lenses& lenses, int32_t first, int32_t second)
{
    return {lenses.rotations[first],
            lenses.rotations[second],
            lenses.focal * exponential(lenses.zooms[first]),
            lenses.focal * exponential(lenses.zooms[second]),
            lenses.radial,
            lenses.skews[first],
            lenses.skews[second]};
}

LensPair lens_pair(const Lenses& lenses, int32_t first, int32_t second)
{
    const LinkView view = link_view(lenses, first, second);
    return {inverse(view.second) * view.first,
            view.first_focal,
            view.second_focal,
            view.radial,
            view.first_skew,
            view.second_skew,
            lenses.falloff};
}

}  // namespace ozr::refined
