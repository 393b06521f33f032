// Rough shifts are guesses. Each is tried: patches are matched where it expects them, and a
// camera's turn that most of them agree on is found. The first guess that makes sense ends the
// search.
#include "refined/pair_match.h"

#include <algorithm>

#include "image/pano_result.h"
#include "refined/adjust.h"
#include "refined/angles.h"
#include "refined/elementary.h"
#include "refined/likeness.h"

namespace ozr::refined
{

namespace
{

// Fewer matches than these agree by chance.
constexpr int32_t kLeastNear = 8;

// The confidence is a logistic curve over four signs of a true match: the likeness of the
// whole overlap, the share of matches that agree, how closely they do (base pixels) and how
// many they are. Each sign counts from a value on that leaves the question open.
constexpr double kByLikeness = 8.0, kOpenLikeness = 0.45;
constexpr double kByShare = 5.0, kOpenShare = 0.45;
constexpr double kByResidual = 2.0, kOpenResidual = 1.0;
constexpr double kByNumber = 3.0;
constexpr int32_t kOpenNear = 24;
constexpr double kDoubt = 2.0;
constexpr double kLeastGood = 0.5;

// Shifts below this correlation are not worth looking at closely.
constexpr double kLeastValue = 0.30;

// Around a hint, in shares of the picture.
constexpr double kHintReachX = 0.10;
constexpr double kHintReachY = 0.12;

// The whole of a sweep: at most 92 percent along it, 20 percent across.
constexpr double kReachAlong = 0.92;
constexpr double kReachAcross = 0.20;

constexpr ShiftRange kWholeRange = {-kReachAlong, kReachAlong, -kReachAcross, kReachAcross};

// Rolls tried where upright pictures do not correlate, in degrees, over more of the picture.
// Correlation ends at about five.
constexpr double kRolls[] = {0.0, 3.0, -3.0, 6.0, -6.0, 9.0, -9.0};
constexpr double kReachRolled = 0.40;
constexpr ShiftRange kRolledRange = {-kReachAlong, kReachAlong, -kReachRolled, kReachRolled};
constexpr int32_t kMostTried = 6;

// Matches that may be worth another look, and those that need none.
constexpr int32_t kLeastSeen = 6;
constexpr int32_t kManyNear = 36;
constexpr double kMostShare = 0.8;
constexpr int32_t kRounds = 3;

struct Attempt {
    const SightPair& sights;
    const Cancel& cancel;
    PairMatch* best;
};

Place _on_cylinder(double angle, double height, double focal)
{
    const SineCosine turn = sine_cosine(angle);
    return {focal * turn.sine / turn.cosine, focal * height / turn.cosine};
}

// The middle of the overlap, as both pictures see it.
PairGuess _guess(const Attempt& attempt, const Shift& shift, double roll)
{
    const Sight& first = attempt.sights.first;
    const int32_t width = first.pyramid.levels[0].width;
    const double focal = assumed_focal(width);
    const double scale = focal * first.unrolled.fine.width / width;
    const double angle = 0.5 * shift.x / scale;
    const double height = 0.5 * shift.y / scale;
    const double base_focal = assumed_base_focal(first);
    const Place second = _on_cylinder(-angle, -height, base_focal);
    const SineCosine turn = sine_cosine(roll);
    return {_on_cylinder(angle, height, base_focal),
            {turn.cosine * second.x - turn.sine * second.y, turn.sine * second.x + turn.cosine * second.y},
            roll};
}

// The guess as the cameras found see it, for a start that is nearer.
PairGuess _refined_guess(const PairGuess& guess, const LensPair& found)
{
    PairGuess refined = guess;
    if (!place_in_second(found, guess.first, &refined.second))
        return guess;
    refined.roll = roll_of_turn(found.turn, guess.first, found.first_focal);
    return refined;
}

// Matches the patches where `lenses` foretell them and finds the cameras that most of
// them agree on.
PanoResult _measure(const Attempt& attempt, const LensPair& lenses, PairMatch* match, LensPair* found)
{
    PANO_FORWARD(match_patches(attempt.sights, lenses, kSearchWide, attempt.cancel, &match->matches));
    match->near = 0;
    if (match->matches.count < kLeastSeen)
        return kPanoSuccess;
    const Link link = {0, 1, match->guess, match->matches.count, match->matches.at};
    const double focal = assumed_base_focal(attempt.sights.first);
    Lenses adjusted;
    PANO_FORWARD(adjust({&link, 1, 2, focal}, attempt.cancel, &adjusted));
    const Agreement agreement = agreement_of(link, adjusted);
    match->near = agreement.near;
    match->residual = agreement.residual;
    *found = lens_pair(adjusted, 0, 1);
    match->guess = _refined_guess(match->guess, *found);
    return kPanoSuccess;
}

// Whether another look, from the cameras found, may show more.
bool _deserves_more(const PairMatch& match)
{
    return match.near >= kLeastSeen &&
           (match.near < kManyNear || match.near < kMostShare * match.matches.count);
}

// Matches the patches for one rough shift and sees how many of them agree; from there once more
// where few do.
PanoResult _try_guess(const Attempt& attempt, const PairGuess& guess)
{
    const double focal = assumed_base_focal(attempt.sights.first);
    LensPair found = {turn_of_guess(guess, focal), focal, focal, 0.0, {}, {}, {}};
    PairMatch best = {};
    best.guess = guess;
    for (int32_t round = 0; round == 0 || (round < kRounds && _deserves_more(best)); ++round) {
        PairMatch next = {};
        next.guess = best.guess;
        LensPair lenses = found;
        PANO_FORWARD(_measure(attempt, found, &next, &lenses));
        if (next.near <= best.near)
            break;
        best = next;
        found = lenses;
    }
    if (best.near < kLeastNear)
        return kPanoSuccess;
    best.likeness = likeness_of_overlap(attempt.sights, found);
    if (best.confidence() > attempt.best->confidence())
        *attempt.best = best;
    return kPanoSuccess;
}

PanoResult _try_range(const Attempt& attempt, const ShiftRange& range)
{
    const SightPair& sights = attempt.sights;
    Shifts shifts;
    PANO_FORWARD(find_shifts(sights.first.unrolled, sights.second.unrolled, range, attempt.cancel, &shifts));
    for (int32_t i = 0; i < shifts.count && !attempt.best->is_good(); ++i) {
        if (shifts.best[i].value >= kLeastValue)
            PANO_FORWARD(_try_guess(attempt, _guess(attempt, shifts.best[i], 0.0)));
    }
    return kPanoSuccess;
}

ShiftRange _around(const ShiftHint& hint)
{
    const double x = std::clamp(hint.x, -kReachAlong, kReachAlong);
    const double y = std::clamp(hint.y, -kReachAcross, kReachAcross);
    return {x - kHintReachX, x + kHintReachX, y - kHintReachY, y + kHintReachY};
}

struct RolledShift : Shift {
    double roll;
};

// The best shifts over all rolls, the best first.
struct RolledShifts {
    int32_t count;
    RolledShift best[kMostTried];
};

PanoResult _find_rolled(const Attempt& attempt, RolledShifts* rolled)
{
    rolled->count = 0;
    for (const double degrees : kRolls) {
        const double roll = degrees * kDegree;
        UnrolledPair unrolled;
        Shifts shifts;
        PANO_FORWARD(unroll_pair(attempt.sights.second, roll, &unrolled));
        PANO_FORWARD(
            find_shifts(attempt.sights.first.unrolled, unrolled, kRolledRange, attempt.cancel, &shifts));
        for (int32_t i = 0; i < shifts.count; ++i) {
            if (shifts.best[i].value >= kLeastValue)
                rolled->count =
                    keep_best<RolledShift>(rolled->best, rolled->count, kMostTried, {shifts.best[i], roll});
        }
    }
    return kPanoSuccess;
}

PanoResult _try_rolled(const Attempt& attempt)
{
    RolledShifts rolled;
    PANO_FORWARD(_find_rolled(attempt, &rolled));
    for (int32_t i = 0; i < rolled.count && !attempt.best->is_good(); ++i) {
        const RolledShift& tried = rolled.best[i];
        PANO_FORWARD(_try_guess(attempt, _guess(attempt, tried, tried.roll)));
    }
    return kPanoSuccess;
}

}  // namespace

double PairMatch::confidence() const
{
    if (near < kLeastNear)
        return 0.0;
    const double share = static_cast<double>(near) / matches.count;
    const double number = static_cast<double>(near - kOpenNear) / (near + kOpenNear);
    const double sum = kByLikeness * (likeness - kOpenLikeness) + kByShare * (share - kOpenShare) -
                       kByResidual * (residual - kOpenResidual) + kByNumber * number - kDoubt;
    return 1.0 / (1.0 + exponential(-sum));
}

bool PairMatch::is_good() const
{
    return confidence() >= kLeastGood;
}

PanoResult match_pair(const SightPair& sights, const ShiftHint& hint, const Cancel& cancel, PairMatch* match)
{
    *match = {};
    if (sights.first.is_plain || sights.second.is_plain)
        return kPanoSuccess;
    const Attempt attempt = {sights, cancel, match};
    if (hint.is_known)
        PANO_FORWARD(_try_range(attempt, _around(hint)));
    if (!match->is_good())
        PANO_FORWARD(_try_range(attempt, kWholeRange));
    if (!match->is_good())
        PANO_FORWARD(_try_rolled(attempt));
    return kPanoSuccess;
}

PanoResult match_pair_again(const SightPair& sights, const LensPair& lenses, const Cancel& cancel,
                            PairMatch* match)
{
    return match_patches(sights, lenses, kSearchNear, cancel, &match->matches);
}

}  // namespace ozr::refined
