#include "refined/sweep.h"

#include <algorithm>
#include <cmath>

#include "image/pano_result.h"
#include "refined/angles.h"
#include "refined/draw.h"
#include "refined/quarter_turn.h"
#include "refined/straighten.h"

namespace ozr::refined
{

namespace
{

// Pictures before the last one that a picture is compared with when the last one does not fit.
constexpr int32_t kBridged = 2;

PanoResult _add_sight(const PanoImg& picture, bool turned, const Cancel& cancel, Sight* sight)
{
    PANO_FORWARD(keep_picture(&picture, turned, cancel, sight->picture.get(), &sight->pyramid));
    sight->grain = measure_grain(sight->pyramid.levels[0]);
    return look_at(sight);
}

// Turns a picture that is kept already.
PanoResult _turn_sight(bool clockwise, const Cancel& cancel, Sight* sight)
{
    PanoImg* kept = sight->picture.get();
    PanoImgOwner turned;
    PANO_FORWARD(quarter_turn(*kept, clockwise, cancel, turned.get()));
    std::swap(*kept, *turned.get());
    PANO_FORWARD(build_pyramid(kept, cancel, &sight->pyramid));
    return look_at(sight);
}

// Whether the second picture lies above or below the first rather than beside it.
bool _runs_across(const PairGuess& guess)
{
    const double along = guess.first.x - guess.second.x;
    const double across = guess.first.y - guess.second.y;
    return across * across > along * along;
}

// Whether the cameras moved up or down rather than aside, from the first used one to the last:
// steps along each camera's own axes, so that shaking cancels out and a tilted camera's circle
// counts as what it is.
bool _runs_across(const Solution& solution, int32_t pictures)
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

// The turn of a camera whose picture, and whose world, are turned by a quarter.
Rotation _quarter_turned(const Rotation& rotation, bool clockwise)
{
    const double by = clockwise ? 1.0 : -1.0;
    const Rotation quarter = {{0, -by, 0, by, 0, 0, 0, 0, 1}};
    return quarter * rotation * inverse(quarter);
}

Place _quarter_turned(Place place, bool clockwise)
{
    return clockwise ? Place{-place.y, place.x} : Place{place.y, -place.x};
}

void _turn_match(bool clockwise, PairMatch* match)
{
    match->guess.first = _quarter_turned(match->guess.first, clockwise);
    match->guess.second = _quarter_turned(match->guess.second, clockwise);
    for (int32_t i = 0; i < match->matches.count; ++i) {
        Match& own = match->matches.at[i];
        own = {_quarter_turned(own.first, clockwise), _quarter_turned(own.second, clockwise)};
    }
}

struct Angles {
    double along;
    double across;
    double roll;
};

// R = turn about y by `along`, about x by `across`, about z by `roll`, the last one first.
Angles _angles(const double* m)
{
    return {arctangent(m[2], m[8]), arctangent(m[5], std::sqrt(m[2] * m[2] + m[8] * m[8])),
            arctangent(m[3], m[4])};
}

}  // namespace

Sweep* Sweep::create()
{
    return new (std::nothrow_t{}) Sweep();
}

void* Sweep::operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return ozr_malloc(static_cast<uint32_t>(size));
}

void Sweep::operator delete(void* sweep, const std::nothrow_t& /*tag*/) noexcept
{
    ozr_free(sweep);
}

void Sweep::operator delete(void* sweep) noexcept
{
    ozr_free(sweep);
}

bool Sweep::has_good_pair() const
{
    return std::any_of(pairs_, pairs_ + count_, [](const Pair& pair) { return pair.match.is_good(); });
}

// Turns all pictures that came in, because the sweep seems to run the other way.
PanoResult Sweep::turn_pictures(const Cancel& cancel)
{
    turned_ = !turned_;
    for (int32_t i = 0; i < pictures_; ++i)
        PANO_FORWARD(_turn_sight(turned_, cancel, &sights_[i]));
    return kPanoSuccess;
}

PanoResult Sweep::match(int32_t first, int32_t second, const ShiftHint& hint, const Cancel& cancel)
{
    Pair* pair = &pairs_[count_];
    pair->first = first;
    pair->second = second;
    PANO_FORWARD(match_pair({sights_[first], sights_[second]}, hint, cancel, &pair->match));
    ++count_;
    return kPanoSuccess;
}

ShiftHint Sweep::shift_hint(const PictureHint& hint) const
{
    if (!hint.has_offset)
        return {false, 0.0, 0.0};
    return turned_ ? ShiftHint{true, -hint.offset_y, hint.offset_x}
                   : ShiftHint{true, hint.offset_x, hint.offset_y};
}

// Whether a good pair joins a picture to one before it.
bool Sweep::is_joined(int32_t picture) const
{
    return std::any_of(pairs_, pairs_ + count_, [picture](const Pair& pair) {
        return pair.second == picture && pair.match.is_good();
    });
}

// Matches the newest picture with those before the last one.
PanoResult Sweep::bridge(const Cancel& cancel)
{
    const int32_t newest = pictures_ - 1;
    for (int32_t first = newest - 2; first >= std::max(newest - 1 - kBridged, 0); --first) {
        PANO_FORWARD(match(first, newest, {false, 0.0, 0.0}, cancel));
        if (pairs_[count_ - 1].match.is_good())
            break;
    }
    return kPanoSuccess;
}

// Matches the newest picture with the last one, and goes further back where that does not join it
// to all before: it does not fit, or the last one fitted none itself.
PanoResult Sweep::match_back(const PictureHint& hint, const Cancel& cancel)
{
    const int32_t newest = pictures_ - 1;
    PANO_FORWARD(match(newest - 1, newest, shift_hint(hint), cancel));
    return is_joined(newest) && (newest == 1 || is_joined(newest - 1)) ? kPanoSuccess : bridge(cancel);
}

// The pairs of the newest picture, from `begin` on, are tried once more with everything turned;
// where that does not help, all is turned back.
PanoResult Sweep::match_turned(int32_t begin, const PictureHint& hint, const Cancel& cancel)
{
    Pair upright[1 + kBridged];
    const int32_t count = count_ - begin;
    std::copy_n(pairs_ + begin, count, upright);
    PANO_FORWARD(turn_pictures(cancel));
    count_ = begin;
    PANO_FORWARD(match_back(hint, cancel));
    if (has_good_pair())
        return kPanoSuccess;
    std::copy_n(upright, count, pairs_ + begin);
    count_ = begin + count;
    return turn_pictures(cancel);
}

PanoResult Sweep::match_newest(const PictureHint& hint, const Cancel& cancel)
{
    const bool is_open = !has_good_pair();
    const int32_t begin = count_;
    PANO_FORWARD(match_back(hint, cancel));
    const bool seems_turned = std::none_of(pairs_ + begin, pairs_ + count_, [](const Pair& pair) {
        return pair.match.is_good() && !_runs_across(pair.match.guess);
    });
    return is_open && seems_turned ? match_turned(begin, hint, cancel) : kPanoSuccess;
}

PanoResult Sweep::add(const PanoImg& picture, const PictureHint& hint, const Cancel& cancel)
{
    if (pictures_ >= kMaxPictures)
        return kPanoTooManyPictures;
    if (cancel.asked())
        return kPanoCancelled;
    // As long as nothing is joined, the caller's word on the direction counts.
    if (!has_good_pair() && hint.direction != kDirectionUndecided && is_vertical(hint.direction) != turned_)
        PANO_FORWARD(turn_pictures(cancel));
    PANO_FORWARD(_add_sight(picture, turned_, cancel, &sights_[pictures_]));
    const ConstPlane& plane = sights_[pictures_].pyramid.levels[0];
    const ConstPlane& first = sights_[0].pyramid.levels[0];
    if (plane.width != first.width || plane.height != first.height)
        return kPanoBadArgument;
    ++pictures_;
    return pictures_ > 1 ? match_newest(hint, cancel) : kPanoSuccess;
}

// The first pair decided along which side the sweep runs, the whole of it knows better: a shaking
// hand may move more up than along from one picture to the next.
PanoResult Sweep::turn_along(const Cancel& cancel)
{
    if (!_runs_across(solution_, pictures_))
        return kPanoSuccess;
    PANO_FORWARD(turn_pictures(cancel));
    for (int32_t i = 0; i < pictures_; ++i) {
        solution_.lenses.rotations[i] = _quarter_turned(solution_.lenses.rotations[i], turned_);
        Skew& skew = solution_.lenses.skews[i];
        skew = {-skew.stretch, -skew.shear};
    }
    for (int32_t i = 0; i < count_; ++i)
        _turn_match(turned_, &pairs_[i].match);
    straighten(solution_.lenses.rotations, solution_.used, pictures_);
    return kPanoSuccess;
}

void Sweep::fill_cameras()
{
    for (int32_t i = 0; i < pictures_; ++i) {
        std::copy_n(solution_.lenses.rotations[i].m, 9, cameras_[i].rotation);
        cameras_[i].focal =
            solution_.lenses.focal * exponential(solution_.lenses.zooms[i]) * sights_[i].base_scale();
        cameras_[i].radial = solution_.lenses.radial;
        cameras_[i].gain = 1.0;
        cameras_[i].used = solution_.used[i];
        cameras_[i].skew = solution_.lenses.skews[i];
    }
}

PanoResult Sweep::draw_cameras(const Cancel& cancel, PanoImg* drawn)
{
    DrawPicture pictures[kMaxPictures] = {};
    for (int32_t i = 0; i < pictures_; ++i) {
        pictures[i].picture = sights_[i].picture.get();
        pictures[i].pyramid = &sights_[i].pyramid;
        pictures[i].camera = &cameras_[i];
        pictures[i].grain = sights_[i].grain;
    }
    PANO_FORWARD(draw({pictures, pictures_, cancel}, drawn, &drawn_));
    for (int32_t i = 0; i < pictures_; ++i)
        cameras_[i].gain = static_cast<double>(drawn_.gain[i]);
    return kPanoSuccess;
}

PanoResult Sweep::compose(const Cancel& cancel, PanoImg* out)
{
    if (pictures_ == 0)
        return kPanoPictureMissing;
    const SweepView view = {sights_, pictures_, pairs_, count_};
    PANO_FORWARD(solve_sweep(view, cancel, &solution_));
    PANO_FORWARD(turn_along(cancel));
    trace_matches(view, solution_, &trace_);
    fill_cameras();
    PanoImgOwner drawn;
    PANO_FORWARD(draw_cameras(cancel, drawn.get()));
    if (turned_) {
        PanoImgOwner upright;
        PANO_FORWARD(quarter_turn(*drawn.get(), false, cancel, upright.get()));
        std::swap(*drawn.get(), *upright.get());
    }
    std::swap(*out, *drawn.get());
    is_composed_ = true;
    return kPanoSuccess;
}

// Neighbours in order of capture first, then the pairs that reach further.
const Pair* Sweep::pair_of_joint(int32_t index) const
{
    int32_t further = pictures_ - 1;
    for (int32_t i = 0; i < count_; ++i) {
        const bool is_neighbour = pairs_[i].second == pairs_[i].first + 1;
        const int32_t own = is_neighbour ? pairs_[i].first : further++;
        if (own == index)
            return &pairs_[i];
    }
    return nullptr;
}

// In pixels of the panorama, the sweep along x.
Place Sweep::offset_of(const Pair& pair) const
{
    const Camera& first = cameras_[pair.first];
    const Camera& second = cameras_[pair.second];
    if (first.used && second.used) {
        const Angles a = _angles(first.rotation);
        const Angles b = _angles(second.rotation);
        double along = b.along - a.along;
        along += along > kPi ? -2.0 * kPi : along < -kPi ? 2.0 * kPi : 0.0;
        const SineCosine up = sine_cosine(a.across);
        const SineCosine to = sine_cosine(b.across);
        return {along * drawn_.radius, (to.sine / to.cosine - up.sine / up.cosine) * drawn_.radius};
    }
    const double focal = first.focal;
    const Rotation turn = inverse(turn_of_guess(pair.match.guess, focal / sights_[pair.first].base_scale()));
    const Angles angles = _angles(turn.m);
    return {angles.along * focal, angles.across * focal};
}

bool Sweep::joint(int32_t index, ozr_panorama_joint* joint) const
{
    const Pair* pair = is_composed_ ? pair_of_joint(index) : nullptr;
    if (pair == nullptr)
        return false;
    const Camera& first = cameras_[pair->first];
    const Camera& second = cameras_[pair->second];
    const Place offset = pair->match.matches.count > 0 ? offset_of(*pair) : Place{0.0, 0.0};
    joint->first = pair->first;
    joint->second = pair->second;
    joint->offset_x = static_cast<float>(turned_ ? offset.y : offset.x);
    joint->offset_y = static_cast<float>(turned_ ? -offset.x : offset.y);
    joint->residual = static_cast<float>(
        pair->match.near > 0 ? pair->match.residual * sights_[pair->first].base_scale() : -1.0);
    joint->confidence = static_cast<float>(pair->match.confidence());
    joint->used = first.used && second.used ? 1 : 0;
    joint->gain = static_cast<float>(joint->used != 0 ? second.gain / first.gain : 1.0);
    return true;
}

bool Sweep::camera(int32_t index, ozr_panorama_camera* camera) const
{
    if (!is_composed_ || index < 0 || index >= pictures_)
        return false;
    const Camera& own = cameras_[index];
    const Angles angles = _angles(own.rotation);
    camera->yaw = static_cast<float>((turned_ ? angles.across : angles.along) / kDegree);
    camera->pitch = static_cast<float>((turned_ ? -angles.along : angles.across) / kDegree);
    camera->roll = static_cast<float>(angles.roll / kDegree);
    camera->focal_length = static_cast<float>(own.focal);
    camera->radial = static_cast<float>(own.radial);
    camera->gain = static_cast<float>(own.gain);
    camera->used = own.used ? 1 : 0;
    return true;
}

}  // namespace ozr::refined
