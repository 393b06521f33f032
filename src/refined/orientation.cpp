#include "refined/orientation.h"

namespace ozr::refined
{

namespace
{

Rotation _turned(const Rotation& rotation, bool clockwise)
{
    const double by = clockwise ? 1.0 : -1.0;
    const Rotation quarter = {{0, -by, 0, by, 0, 0, 0, 0, 1}};
    return quarter * rotation * inverse(quarter);
}

Place _turned(Place place, bool clockwise)
{
    return clockwise ? Place{-place.y, place.x} : Place{place.y, -place.x};
}

}  // namespace

bool runs_across(const PairGuess& guess)
{
    const double along = guess.first.x - guess.second.x;
    const double across = guess.first.y - guess.second.y;
    return across * across > along * along;
}

bool runs_across(const Solution& solution, int32_t pictures)
{
    double along = 0.0;
    double across = 0.0;
    const Rotation* last = nullptr;
    for (int32_t i = 0; i < pictures; ++i) {
        if (!solution.used[i])
            continue;
        const Rotation* next = &solution.lenses.rotations[i];
        if (last != nullptr) {
            along += dot(next->column(2), last->column(0));
            across += dot(next->column(2), last->column(1));
        }
        last = next;
    }
    return across * across > along * along;
}

void turn_solution(bool clockwise, int32_t pictures, Solution* solution)
{
    for (int32_t i = 0; i < pictures; ++i) {
        Rotation& rotation = solution->lenses.rotations[i];
        Skew& skew = solution->lenses.skews[i];
        rotation = _turned(rotation, clockwise);
        skew = {-skew.stretch, -skew.shear};
    }
}

void turn_match(bool clockwise, PairMatch* match)
{
    match->guess.first = _turned(match->guess.first, clockwise);
    match->guess.second = _turned(match->guess.second, clockwise);
    for (int32_t i = 0; i < match->matches.count; ++i) {
        Match& own = match->matches.at[i];
        own = {_turned(own.first, clockwise), _turned(own.second, clockwise)};
    }
}

}  // namespace ozr::refined
