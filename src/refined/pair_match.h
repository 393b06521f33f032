// Matching of two pictures: their rough shift, the matches of patches, and whether these
// make sense together.
#ifndef REFINED_PAIR_MATCH_H
#define REFINED_PAIR_MATCH_H

#include "refined/lens_pair.h"
#include "refined/pair_guess.h"
#include "refined/patches.h"
#include "refined/sight.h"

namespace ozr::refined
{

// What two pictures have in common.
struct PairMatch {
    PairGuess guess;
    Matches matches;
    int32_t near;     // matches that agree on how the camera turned
    double residual;  // root mean square distance of those, base pixels
    double likeness;  // of the whole overlap, 1: the same

    // How much a joint of the two pictures can be trusted, from 0 to 1.
    double confidence() const;

    // Whether it is more likely right than wrong.
    bool is_good() const;
};

// Where the second picture is expected: the shift of its middle, in shares of the picture's
// width and height.
struct ShiftHint {
    bool is_known;
    double x;
    double y;
};

// Finds what two pictures have in common, near the hint first, then anywhere along the sweep.
// Pictures that do not belong together end with a match that is not good. kPanoNoMemory,
// kPanoCancelled.
PanoResult match_pair(const SightPair& sights, const ShiftHint& hint, const Cancel& cancel, PairMatch* match);

// Matches the patches once more with cameras found before. kPanoCancelled.
PanoResult match_pair_again(const SightPair& sights, const LensPair& lenses, const Cancel& cancel,
                            PairMatch* match);

}  // namespace ozr::refined

#endif
