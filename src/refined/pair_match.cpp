#include "refined/pair_match.h"

#include <algorithm>
#include <cmath>

#include "image/pano_result.h"
#include "refined/angles.h"
#include "refined/elementary.h"
#include "refined/patches.h"

namespace ozr::refined
{

namespace
{

// Fewer matches than these agree by chance.
constexpr int32_t kLeastNear = 8;

// The confidence is a logistic curve over four signs of a true match: the likeness of the whole overlap, the share of
// matches that agree, how closely they do (base pixels) and how many they are.
constexpr double kByLikeness = 8.0;
constexpr double kByShare = 5.0;
constexpr double kByResidual = 2.0;
constexpr double kByNumber = 3.0;
constexpr int32_t kUsualNear = 24;
constexpr double kDoubt = 2.0;

// Shifts below this correlation are not worth looking at closely.
constexpr double kLeastValue = 0.30;

// Around a hint, in shares of the picture.
constexpr double kHintReachX = 0.10;
constexpr double kHintReachY = 0.12;

// The whole of a sweep: at most 92 percent along it, 20 percent across.
constexpr double kReachAlong = 0.92;
constexpr double kReachAcross = 0.20;

// Rolls tried where upright pictures do not correlate, in degrees, over more of the picture. Correlation dies at about five.
constexpr double kRolls[] = {0.0, 3.0, -3.0, 6.0, -6.0, 9.0, -9.0};
constexpr ShiftRange kFarRange = {-kReachAlong, kReachAlong, -0.4, 0.4};
constexpr int32_t kMostTried = 6;

// Matches that may be worth another look, and those that need none.
constexpr int32_t kLeastSeen = 6;
constexpr int32_t kManyNear = 36;
constexpr double kMostShare = 0.8;
constexpr int32_t kRounds = 3;

struct Attempt {
    const Sight& first;
    const Sight& second;
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
    const int32_t width = attempt.first.pyramid.levels[0].width;
    const double focal = assumed_focal(width);
    const double scale = focal * attempt.first.unrolled.fine.width / width;
    const double angle = 0.5 * shift.x / scale;
    const double height = 0.5 * shift.y / scale;
    const double base_focal = focal / attempt.first.base_scale();
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

// Matches the patches where `lenses` foretell them and finds the cameras that most of them agree on.
int32_t _measure(const Attempt& attempt, const LensPair& lenses, PairMatch* match, LensPair* found)
{
    match->count =
        match_patches(attempt.first, attempt.second, lenses, kSearchWide, attempt.cancel, match->matches);
    PANO_FORWARD(match->count);
    match->near = 0;
    if (match->count < kLeastSeen)
        return kPanoSuccess;
    const Link link = {0, 1, match->guess, match->count, match->matches};
    const double focal = assumed_focal(attempt.first.pyramid.levels[0].width) / attempt.first.base_scale();
    Lenses adjusted;
    PANO_FORWARD(adjust(&link, 1, 2, focal, kLensOfPair, attempt.cancel, &adjusted));
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
    return match.near >= kLeastSeen && (match.near < kManyNear || match.near < kMostShare * match.count);
}

// Matches the patches for one rough shift and sees how many of them agree; from there once more where few do.
int32_t _try_guess(const Attempt& attempt, const PairGuess& guess)
{
    const double focal = assumed_focal(attempt.first.pyramid.levels[0].width) / attempt.first.base_scale();
    LensPair found = {turn_of_guess(guess, focal), focal, focal, 0.0, {}, {}};
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
    best.likeness = likeness_of_overlap(attempt.first, attempt.second, found);
    if (best.confidence() > attempt.best->confidence())
        *attempt.best = best;
    return kPanoSuccess;
}

int32_t _try_range(const Attempt& attempt, const ShiftRange& range)
{
    Shift shifts[kMaxShifts];
    const int32_t found =
        find_shifts(attempt.first.unrolled, attempt.second.unrolled, range, attempt.cancel, shifts);
    PANO_FORWARD(found);
    for (int32_t i = 0; i < found && !attempt.best->is_good(); ++i) {
        if (shifts[i].value >= kLeastValue)
            PANO_FORWARD(_try_guess(attempt, _guess(attempt, shifts[i], 0.0)));
    }
    return kPanoSuccess;
}

ShiftRange _around(const ShiftHint& hint)
{
    const double x = std::clamp(hint.x, -kReachAlong, kReachAlong);
    const double y = std::clamp(hint.y, -kReachAcross, kReachAcross);
    return {x - kHintReachX, x + kHintReachX, y - kHintReachY, y + kHintReachY};
}

struct RolledShift {
    Shift shift;
    double roll;
};

// The best shifts over all rolls, the best first.
int32_t _find_rolled(const Attempt& attempt, RolledShift best[kMostTried])
{
    int32_t count = 0;
    for (const double degrees : kRolls) {
        UnrolledPair rolled;
        Shift shifts[kMaxShifts];
        PANO_FORWARD(unroll_pair(attempt.second, degrees * kDegree, &rolled));
        const int32_t found = find_shifts(attempt.first.unrolled, rolled, kFarRange, attempt.cancel, shifts);
        PANO_FORWARD(found);
        for (int32_t i = 0; i < found; ++i) {
            int32_t place = count;
            while (place > 0 && best[place - 1].shift.value < shifts[i].value)
                --place;
            if (place >= kMostTried || shifts[i].value < kLeastValue)
                continue;
            count = std::min(count + 1, kMostTried);
            std::copy_backward(best + place, best + count - 1, best + count);
            best[place] = {shifts[i], degrees * kDegree};
        }
    }
    return count;
}

int32_t _try_rolled(const Attempt& attempt)
{
    RolledShift best[kMostTried];
    const int32_t count = _find_rolled(attempt, best);
    PANO_FORWARD(count);
    for (int32_t i = 0; i < count && !attempt.best->is_good(); ++i)
        PANO_FORWARD(_try_guess(attempt, _guess(attempt, best[i].shift, best[i].roll)));
    return kPanoSuccess;
}

}  // namespace

double PairMatch::confidence() const
{
    if (near < kLeastNear)
        return 0.0;
    const double share = static_cast<double>(near) / count;
    const double number = static_cast<double>(near - kUsualNear) / (near + kUsualNear);
    const double sum = kByLikeness * (likeness - 0.45) + kByShare * (share - 0.45) -
                       kByResidual * (residual - 1.0) + kByNumber * number - kDoubt;
    return 1.0 / (1.0 + exponential(-sum));
}

bool PairMatch::is_good() const
{
    return confidence() >= 0.5;
}

int32_t match_pair(const Sight& first, const Sight& second, const ShiftHint& hint, const Cancel& cancel,
                   PairMatch* match)
{
    *match = {};
    if (first.is_plain || second.is_plain)
        return kPanoSuccess;
    const Attempt attempt = {first, second, cancel, match};
    if (hint.is_known)
        PANO_FORWARD(_try_range(attempt, _around(hint)));
    const ShiftRange everywhere = {-kReachAlong, kReachAlong, -kReachAcross, kReachAcross};
    if (!match->is_good())
        PANO_FORWARD(_try_range(attempt, everywhere));
    if (!match->is_good())
        PANO_FORWARD(_try_rolled(attempt));
    return kPanoSuccess;
}

int32_t match_pair_again(const Sight& first, const Sight& second, const LensPair& lenses,
                         const Cancel& cancel, PairMatch* match)
{
    Match matches[kMaxMatches];
    const int32_t count = match_patches(first, second, lenses, kSearchNear, cancel, matches);
    PANO_FORWARD(count);
    std::copy_n(matches, count, match->matches);
    match->count = count;
    return kPanoSuccess;
}

}  // namespace ozr::refined
