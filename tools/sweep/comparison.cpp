// Joins the pictures of a sweep once more, in the other quality, so that the two can be compared.
#include "sweep/comparison.h"

#include "media/thumbnail.h"

#include <algorithm>
#include <math.h>
#include <new>

namespace ozr_pano
{

namespace
{

constexpr int32_t kShownExtent = 1600;  // longer side on the page

// The overlap of neighbours, in percent, as far as it can be asked for; what was asked for where no
// joint is trusted.
int32_t _overlap_of(const Journal& done, const ozr_panorama& limits)
{
    const bool is_vertical =
        done.direction == ozr_panorama_direction_down || done.direction == ozr_panorama_direction_up;
    const double side = is_vertical ? done.picture_height : done.picture_width;
    double steps = 0;
    int count = 0;
    for (const ozr_panorama_joint& joint : done.joints) {
        if (joint.used == 0 || joint.confidence < kTrustedJoint || joint.second != joint.first + 1)
            continue;
        steps += fabs(static_cast<double>(is_vertical ? joint.offset_y : joint.offset_x)) / side;
        ++count;
    }
    if (count == 0)
        return done.overlap;
    return std::clamp(static_cast<int32_t>(lround(100 - 100 * steps / count)), limits.min_overlapping_ratio,
                      limits.max_overlapping_ratio);
}

std::string _failure(const char* what, ozr_err error)
{
    return std::string(what) + " (" + ozr_err_to_string(error) + ")";
}

}  // namespace

void Comparison::keep(const ozr_image& picture, const PictureEntry& entry)
{
    pictures_.emplace_back();
    if (ozr_image_clone(&picture, pictures_.back().get()) != ozr_success)
        throw std::bad_alloc();
    entries_.push_back(entry);
    const ozr_point offset = entry.offset;
    if (preview_width_ > 0)
        entries_.back().offset = {offset.x * picture.width / preview_width_,
                                  offset.y * picture.width / preview_width_};
}

Counterpart Comparison::join(const CommonOptions& options, const Journal& done)
{
    CommonOptions plain = options;
    plain.output = plain.report = plain.record = std::string();
    Counterpart made;
    Session session(plain, &made.journal);
    const bool is_classic = done.quality != ozr_panorama_quality_classic;
    ozr_err error = session.set_parameters({_overlap_of(done, session.limits()), done.direction});
    if (error == ozr_success && !is_classic)
        error = session.set_quality(ozr_panorama_quality_refined);
    for (size_t i = 0; i < pictures_.size() && error == ozr_success; ++i)
        error = session.stitch_one_image(pictures_[i].get(), entries_[i]);
    if (error != ozr_success) {
        made.journal.failure = _failure("a picture is refused", error);
        return made;
    }
    ozr_image panorama = {};
    error = session.run(&panorama);
    if (error != ozr_success)
        made.journal.failure = _failure("the pictures cannot be placed", error);
    else
        made.panorama = shrink(convert_to_picture(panorama), kShownExtent);
    return made;
}

}  // namespace ozr_pano
