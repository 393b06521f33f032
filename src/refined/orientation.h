// Which side of its pictures a sweep runs along, and all that was found of it turned by a quarter
// when it turns out to be the other one.
#ifndef REFINED_ORIENTATION_H
#define REFINED_ORIENTATION_H

#include "refined/solve.h"

namespace ozr::refined
{

// Whether the second picture is above or below the first rather than beside it.
bool runs_across(const PairGuess& guess);

// Whether the cameras moved up or down rather than aside, from the first used one to the last:
// steps along each camera's own axes, so that shaking cancels out and a tilted camera's circle
// counts as what it is.
bool runs_across(const Solution& solution, int32_t pictures);

// What was found, for pictures that have been turned clockwise or counter-clockwise, and the world
// with them.
void turn_solution(bool clockwise, int32_t pictures, Solution* solution);
void turn_match(bool clockwise, PairMatch* match);

}  // namespace ozr::refined

#endif
