#include "refined/lens_pair.h"

namespace ozr::refined
{

bool place_in_second(const LensPair& lenses, Place first, Place* second)
{
    const Place seen = {first.x / lenses.first_focal, first.y / lenses.first_focal};
    const Place straight = straightened_place(unskewed_place(seen, lenses.first_skew), lenses.radial);
    const Vector ray = lenses.turn.turn({straight.x, straight.y, 1.0});
    if (ray.z < kLeastAhead)
        return false;
    const Place bent = bent_place({ray.x / ray.z, ray.y / ray.z}, lenses.radial).place;
    const Place shown = skewed_place(bent, lenses.second_skew);
    *second = {lenses.second_focal * shown.x, lenses.second_focal * shown.y};
    return true;
}

}  // namespace ozr::refined
