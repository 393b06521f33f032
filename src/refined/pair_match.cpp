#include "refined/pair_match.h"

#include <algorithm>
#include <cmath>

#include "image/pano_result.h"
#include "refined/angles.h"
#include "refined/patches.h"

namespace ozr::refined
{

namespace
{

// A match is good with so many matches that agree, being such a share of all.
constexpr int32_t kLeastNear = 12;
constexpr double kLeastShare = 0.3;

// Shifts below this correlation are not worth looking at closely.
constexpr double kLeastValue = 0.30;

// Around a hint, in shares of the picture.
constexpr double kHintReachX = 0.10;
constexpr double kHintReachY = 0.12;

// The whole of a sweep: at most 92 percent along it, 20 percent across.
constexpr double kReachAlong = 0.92;
constexpr double kReachAcross = 0.20;

// Rolls tried where upright pictures do not correlate, in degrees. Correlation dies at about five.
constexpr double kRolls[] = {3.0, -3.0, 6.0, -6.0, 9.0, -9.0};

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

// Matches the patches for one rough shift and sees how many of them agree.
int32_t _try_guess(const Attempt& attempt, const PairGuess& guess)
{
    const double focal = assumed_focal(attempt.first.pyramid.levels[0].width) / attempt.first.base_scale();
    PairMatch match = {};
    match.guess = guess;
    const LensPair lenses = {turn_of_guess(guess, focal), focal, focal, 0.0};
    match.count =
        match_patches(attempt.first, attempt.second, lenses, kSearchWide, attempt.cancel, match.matches);
    PANO_FORWARD(match.count);
    if (match.count < kLeastNear)
        return kPanoSuccess;
    const Link link = {0, 1, guess, match.count, match.matches};
    Lenses found;
    PANO_FORWARD(adjust(&link, 1, 2, focal, kLensOfPair, attempt.cancel, &found));
    const Agreement agreement = agreement_of(link, found);
    match.near = agreement.near;
    match.residual = agreement.residual;
    if (match.near > attempt.best->near)
        *attempt.best = match;
    return kPanoSuccess;
}

int32_t _try_range(const Attempt& attempt, const UnrolledPair& second, double roll, const ShiftRange& range)
{
    Shift shifts[kMaxShifts];
    const int32_t found = find_shifts(attempt.first.unrolled, second, range, attempt.cancel, shifts);
    PANO_FORWARD(found);
    for (int32_t i = 0; i < found && !attempt.best->is_good(); ++i) {
        if (shifts[i].value >= kLeastValue)
            PANO_FORWARD(_try_guess(attempt, _guess(attempt, shifts[i], roll)));
    }
    return kPanoSuccess;
}

ShiftRange _around(const ShiftHint& hint)
{
    const double x = std::clamp(hint.x, -kReachAlong, kReachAlong);
    const double y = std::clamp(hint.y, -kReachAcross, kReachAcross);
    return {x - kHintReachX, x + kHintReachX, y - kHintReachY, y + kHintReachY};
}

int32_t _try_rolled(const Attempt& attempt, const ShiftRange& range)
{
    for (const double degrees : kRolls) {
        if (attempt.best->is_good())
            break;
        UnrolledPair rolled;
        PANO_FORWARD(unroll_pair(attempt.second, degrees * kDegree, &rolled));
        PANO_FORWARD(_try_range(attempt, rolled, degrees * kDegree, range));
    }
    return kPanoSuccess;
}

}  // namespace

bool is_good_match(int32_t near, int32_t count)
{
    return near >= kLeastNear && near >= kLeastShare * count;
}

double confidence_of(int32_t near, int32_t count)
{
    if (near == 0)
        return 0.0;
    const double share = std::min(static_cast<double>(near) / (kLeastShare * count), 2.0) / 2.0;
    const double number = static_cast<double>(near) / (near + kLeastNear / 3.0);
    const double confidence = std::sqrt(share) * number;
    return is_good_match(near, count) ? std::max(confidence, 0.5) : std::min(confidence, 0.45);
}

bool PairMatch::is_good() const
{
    return is_good_match(near, count);
}

int32_t match_pair(const Sight& first, const Sight& second, const ShiftHint& hint, const Cancel& cancel,
                   PairMatch* match)
{
    *match = {};
    if (first.is_plain || second.is_plain)
        return kPanoSuccess;
    const Attempt attempt = {first, second, cancel, match};
    if (hint.is_known)
        PANO_FORWARD(_try_range(attempt, second.unrolled, 0.0, _around(hint)));
    const ShiftRange everywhere = {-kReachAlong, kReachAlong, -kReachAcross, kReachAcross};
    if (!match->is_good())
        PANO_FORWARD(_try_range(attempt, second.unrolled, 0.0, everywhere));
    if (!match->is_good())
        PANO_FORWARD(_try_rolled(attempt, everywhere));
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
