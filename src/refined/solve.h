// From the matches of all pairs to the cameras of the sweep: which pictures belong together, and
// how each looked.
#ifndef REFINED_SOLVE_H
#define REFINED_SOLVE_H

#include "refined/lenses.h"
#include "refined/pair_match.h"

namespace ozr::refined
{

// Two pictures that were compared, in order of capture.
struct Pair {
    int32_t first;
    int32_t second;
    PairMatch match;
};

// Neighbours, and pictures further apart where a neighbour did not fit.
constexpr int32_t kMaxPairs = 3 * kMaxPictures;

struct SweepView {
    const Sight* sights;
    int32_t pictures;
    Pair* pairs;
    int32_t count;
};

struct Solution {
    Lenses lenses;
    bool used[kMaxPictures];
};

// Finds the cameras of the pictures that good pairs join; of several groups, that of most
// pictures, and the earliest of equal ones. Pairs that turn out not to fit get fewer near
// matches. kPanoNoMemory, kPanoCancelled.
PanoResult solve_sweep(const SweepView& view, const Cancel& cancel, Solution* solution);

}  // namespace ozr::refined

#endif
