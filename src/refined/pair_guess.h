// Where two pictures are against each other, before anything is known of their cameras.
#ifndef REFINED_PAIR_GUESS_H
#define REFINED_PAIR_GUESS_H

#include "refined/camera.h"

namespace ozr::refined
{

// A place that two pictures share, in base pixels from the middle of both, and by how much the
// second is rolled against the first about it.
struct PairGuess {
    Place first;
    Place second;
    double roll;
};

// The turn from the first camera of a guess to the second, for a focal length.
Rotation turn_of_guess(const PairGuess& guess, double focal);

// The roll of the guess that a turn comes from whose first place is given.
double roll_of_turn(const Rotation& turn, Place first, double focal);

}  // namespace ozr::refined

#endif
