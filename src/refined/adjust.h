// The adjustment: the cameras that agree best with all matches together.
//
// Unknown are the turn of every picture and a small zoom of its own, one focal length and one
// radial term for all, and a small skew of every picture where the rest does not fit closely. What
// is made small is the distance, in base pixels, of where a match's first place shows in the second
// picture from where it was seen there. Far-off matches lose their say step by step (the weights of
// Geman and McClure), so wrong ones do no harm.
#ifndef REFINED_ADJUST_H
#define REFINED_ADJUST_H

#include "base/limits.h"
#include "refined/cancel.h"
#include "refined/lens_pair.h"
#include "refined/patches.h"

namespace ozr::refined
{

// A place that two pictures share, before anything else is known of their turn: where it shows in
// both, and by how much the second is rolled against the first about it.
struct PairGuess {
    Place first;
    Place second;
    double roll;
};

// Matches of two pictures.
struct Link {
    int32_t first;
    int32_t second;
    PairGuess guess;
    int32_t count;
    const Match* matches;
};

// All cameras of a sweep. Pictures that no link reaches keep their start.
struct Lenses {
    Rotation rotations[kMaxPictures];
    double zooms[kMaxPictures];  // natural logarithm of the picture's own focal length over `focal`
    double focal;                // base pixels
    double radial;
    Skew skews[kMaxPictures];
    Falloff falloff;  // none unless it was found: no place depends on it
};

// The turn from the first camera of a guess to the second, for a focal length.
Rotation turn_of_guess(const PairGuess& guess, double focal);

// The roll of the guess that a turn comes from whose first place is given.
double roll_of_turn(const Rotation& turn, Place first, double focal);

// The camera's view of one picture in another.
LensPair lens_pair(const Lenses& lenses, int32_t first, int32_t second);

// What cameras are to be found from.
struct AdjustTask {
    const Link* links;
    int32_t count;  // of links
    int32_t pictures;
    double assumed_focal;  // base pixels
};

// Finds the turns of all pictures and a plain lens, beginning with the guesses' turns at the
// assumed focal length, and with other focal lengths where that one fits badly. kPanoCancelled,
// kPanoNoMemory.
PanoResult adjust(const AdjustTask& task, const Cancel& cancel, Lenses* lenses);

// The same from cameras that are nearly right already.
PanoResult adjust_again(const AdjustTask& task, const Cancel& cancel, Lenses* lenses);

// Goes on with all that more than two pictures tell: zooms, the radial term, and skews where these
// explain much.
PanoResult adjust_lens(const AdjustTask& task, const Cancel& cancel, Lenses* lenses);

// How well the matches of a link agree with the cameras.
struct Agreement {
    int32_t near;     // matches within kNearPixels
    double residual;  // root mean square distance of those, base pixels
};
constexpr double kNearPixels = 3.0;
Agreement agreement_of(const Link& link, const Lenses& lenses);

}  // namespace ozr::refined

#endif
