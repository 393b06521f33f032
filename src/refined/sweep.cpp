// Pictures are matched as they come, each with the one before. As long as nothing is joined the
// sweep may turn out to run the other way: then all pictures are turned, and matched once more.
#include "refined/sweep.h"

#include <algorithm>

#include "image/pano_result.h"
#include "refined/draw.h"
#include "refined/elementary.h"
#include "refined/joints.h"
#include "refined/orientation.h"
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

// Whether a good pair joins a picture to one before it.
bool Sweep::is_joined(int32_t picture) const
{
    return std::any_of(pairs_, pairs_ + count_, [picture](const Pair& pair) {
        return pair.second == picture && pair.match.is_good();
    });
}

ShiftHint Sweep::shift_hint(const PictureHint& hint) const
{
    if (!hint.has_offset)
        return {false, 0.0, 0.0};
    return turned_ ? ShiftHint{true, -hint.offset_y, hint.offset_x}
                   : ShiftHint{true, hint.offset_x, hint.offset_y};
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
        return pair.match.is_good() && !runs_across(pair.match.guess);
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
    if (!runs_across(solution_, pictures_))
        return kPanoSuccess;
    PANO_FORWARD(turn_pictures(cancel));
    turn_solution(turned_, pictures_, &solution_);
    for (int32_t i = 0; i < count_; ++i)
        turn_match(turned_, &pairs_[i].match);
    straighten(solution_.lenses.rotations, solution_.used, pictures_);
    return kPanoSuccess;
}

void Sweep::fill_cameras()
{
    for (int32_t i = 0; i < pictures_; ++i) {
        cameras_[i].rotation = solution_.lenses.rotations[i];
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

bool Sweep::joint(int32_t index, ozr_panorama_joint* joint) const
{
    return is_composed_ && joint_of(inside(), index, joint);
}

bool Sweep::camera(int32_t index, ozr_panorama_camera* camera) const
{
    return is_composed_ && camera_of(inside(), index, camera);
}

}  // namespace ozr::refined
