// What can be looked at inside a sweep after its panorama was made: the matches as they were solved
// with, and where the cameras found show them. For those who want to see how good a joint is, not
// only how good it is said to be.
#ifndef REFINED_TRACE_H
#define REFINED_TRACE_H

#include "refined/draw.h"
#include "refined/solve.h"

namespace ozr::refined
{

// Where the first place of a match shows in the second picture, in pixels of the base level
// from its middle.
struct ShownPlace {
    float x;
    float y;
    bool is_known;  // false: one of the pictures has no camera, or the second one looks away
};

// By pairs, in the order in which they were compared, and by their matches.
struct Trace {
    ShownPlace shown[kMaxPairs][kMaxMatches];
};

void trace_matches(const SweepView& view, const Solution& solution, Trace* trace);

// All of it stays the sweep's, valid until it goes.
struct SweepInside {
    const Sight* sights;
    int32_t pictures;
    bool is_turned;  // pictures are turned clockwise: the sweep runs up or down
    const Pair* pairs;
    int32_t count;
    const Camera* cameras;
    const Trace* trace;
    const DrawReport* drawn;
};

}  // namespace ozr::refined

#endif
