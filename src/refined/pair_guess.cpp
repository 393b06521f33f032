#include "refined/pair_guess.h"

#include "refined/angles.h"

namespace ozr::refined
{

namespace
{

// The frame of a line of sight: to the right along the horizon, down, ahead.
Rotation _frame(Place place, double focal)
{
    const Vector ahead = unit({place.x / focal, place.y / focal, 1.0});
    const Vector right = unit({1.0, 0.0, -place.x / focal});
    const Vector down = cross(ahead, right);
    return {{right.x, down.x, ahead.x, right.y, down.y, ahead.y, right.z, down.z, ahead.z}};
}

}  // namespace

Rotation turn_of_guess(const PairGuess& guess, double focal)
{
    // The second camera as if it were upright, then rolled.
    const SineCosine roll = sine_cosine(guess.roll);
    const Place upright = {roll.cosine * guess.second.x + roll.sine * guess.second.y,
                           roll.cosine * guess.second.y - roll.sine * guess.second.x};
    return rotation_about({0.0, 0.0, guess.roll}) * _frame(upright, focal) *
           inverse(_frame(guess.first, focal));
}

double roll_of_turn(const Rotation& turn, Place first, double focal)
{
    const Vector right = (turn * _frame(first, focal)).column(0);
    return arctangent(right.y, right.x);
}

}  // namespace ozr::refined
