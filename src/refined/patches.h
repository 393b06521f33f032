// Matching of small patches of two neighbours: places that are seen in both, measured to a few
// hundredths of a pixel.
#ifndef REFINED_PATCHES_H
#define REFINED_PATCHES_H

#include "refined/lens_pair.h"
#include "refined/sight.h"

namespace ozr::refined
{

constexpr int32_t kMaxMatches = 160;

struct Matches {
    int32_t count;
    Match at[kMaxMatches];
};

// How far off the places of the second picture may be that `lenses` foretells.
enum PatchSearch {
    kSearchWide,  // by a few pixels of two levels above the base: after a rough shift
    kSearchNear,  // by a few pixels of the base: with cameras found before
};

// Finds the matches over the whole overlap. kPanoCancelled.
PanoResult match_patches(const SightPair& sights, const LensPair& lenses, PatchSearch kind,
                         const Cancel& cancel, Matches* matches);

// Measures matches once more where the lens is known to take from the light towards the corners:
// across a patch that looks a little like a shift of it.
void refit_patches(const SightPair& sights, const LensPair& lenses, Matches* matches);

}  // namespace ozr::refined

#endif
