// One sweep through the library, as a camera application drives it.
#include "sweep/sweep.h"

#include "base/program_error.h"
#include "base/quoting.h"
#include "sweep/summary.h"

namespace ozr_pano
{

namespace
{

// Why the library refuses a picture of a sweep, and what helps.
const char* _picture_reason(ozr_err error)
{
    switch (error) {
    case ozr_err_invalid_argument:
        return "the picture does not fit the others or is too small; give pictures of one size, 96 pixels or "
               "more";
    case ozr_err_invalid_status:
        return "the direction of the sweep is not known, or the sweep has ended; name it with --direction";
    case ozr_err_out_of_bound:
        return "the sweep is full; leave pictures out, or raise --overlap if they overlap more";
    case ozr_err_nomem:
        return "out of memory; give smaller pictures";
    default:
        return "the library cannot take it; --verbose shows its log";
    }
}

// Why the library composes no panorama, and what helps.
const char* _composition_reason(ozr_err error)
{
    switch (error) {
    case ozr_err_not_supported:
        return "the pictures cannot be placed: they do not overlap or drift too far across the sweep; check "
               "their order, --direction and --overlap";
    case ozr_err_invalid_argument:
        return "the pictures cannot be placed: the panorama would have an impossible size; check their "
               "order, --direction and --overlap";
    case ozr_err_nomem:
        return "out of memory; give smaller or fewer pictures";
    default:
        return "the library cannot compose them; --verbose shows its log";
    }
}

// Why a picture is missing from a panorama, and what helps.
const char* _left_out_reason(ozr_panorama_quality quality)
{
    return quality == ozr_panorama_quality_refined
               ? "does not fit the others; give pictures of one sweep, in its order, that overlap by a fifth "
                 "or more"
               : "drifts too far across the sweep; hold the camera level, or check --direction and --overlap";
}

}  // namespace

Sweep::Sweep(const SweepOptions& options, Journal* journal, ozr_panorama_direction direction, int32_t overlap)
    : options_(options), journal_(journal), progress_(!options.verbose), session_(options, journal)
{
    const ozr_err error = session_.set_parameters({overlap, direction});
    if (error == ozr_err_not_supported)
        throw UsageError("--overlap: " + std::to_string(overlap) + " is not in the range " +
                         std::to_string(session_.limits().min_overlapping_ratio) + " to " +
                         std::to_string(session_.limits().max_overlapping_ratio));
    if (error != ozr_success)
        fail("the parameters are refused (%s); --verbose shows the library's log", ozr_err_to_string(error));
    // Classic is what a session begins with.
    if (options.quality != ozr_panorama_quality_classic &&
        session_.set_quality(options.quality) != ozr_success)
        fail("the library refuses the refined quality; give --quality classic");
}

Announcement Sweep::watch(const ozr_image& preview, const std::string& name)
{
    Announcement announcement;
    ozr_panorama_direction direction;
    const ozr_err result = session_.detect_frame_to_stitch(preview, &announcement.offset, &direction);
    // A sweep that has all its pictures closes itself, and the next preview is refused.
    announcement.ended = result == ozr_err_invalid_status && journal_->pictures.size() > 1;
    if (result < 0 && !announcement.ended)
        give_up("%s: the preview is refused (%s); --verbose shows the library's log", name.c_str(),
                ozr_err_to_string(result));
    announcement.due = result > 0;
    comparison_.note_preview(preview);
    progress_.show("following %s, %zu pictures", name.c_str(), journal_->pictures.size());
    return announcement;
}

void Sweep::add(ozr_image* picture, PictureEntry entry)
{
    const std::string source = entry.source;
    progress_.show("stitching picture %zu: %s", journal_->pictures.size(), source.c_str());
    if (options_.compare)
        comparison_.keep(*picture, entry);
    const ozr_err error = session_.stitch_one_image(picture, std::move(entry));
    if (error != ozr_success)
        give_up("%s: %s (%s)", source.c_str(), _picture_reason(error), ozr_err_to_string(error));
}

void Sweep::finish()
{
    const int given = static_cast<int>(journal_->pictures.size());
    progress_.show("composing %d pictures", given);
    ozr_image panorama = {};
    const ozr_err error = session_.run(&panorama);
    if (error != ozr_success)
        give_up("%s (%s)", _composition_reason(error), ozr_err_to_string(error));
    const int used = journal_->pictures_used;
    if (given > 1 && used == 1)
        give_up("the pictures cannot be placed: each %s", _left_out_reason(options_.quality));
    const int doubts = say_doubts();
    Counterpart counterpart;
    if (options_.compare) {
        progress_.show("joining %d pictures in the other quality", given);
        counterpart = comparison_.join(options_, *journal_);
    }
    progress_.show("writing %s", options_.output.c_str());
    session_.publish(panorama, options_.compare ? &counterpart : nullptr);
    progress_.clear();
    print_summary(*journal_, options_.json);
    if (options_.strict && doubts > 0)
        fail("--strict: the panorama is written, but %d of its places %s in doubt", doubts,
             doubts == 1 ? "is" : "are");
}

int Sweep::say_doubts()
{
    int doubts = 0;
    const std::vector<PictureEntry>& pictures = journal_->pictures;
    const std::vector<bool> used = used_pictures(*journal_);
    for (size_t i = 0; i < pictures.size(); ++i) {
        if (used[i])
            continue;
        progress_.clear();
        say("%s: picture %zu is left out: it %s", pictures[i].source.c_str(), i,
            _left_out_reason(options_.quality));
        ++doubts;
    }
    for (const ozr_panorama_joint& joint : journal_->joints) {
        if (joint.used == 0 || joint.confidence >= kTrustedJoint)
            continue;
        progress_.clear();
        say("%s: picture %d does not fit picture %d for sure: confidence %.2f; look at the panorama there",
            pictures[static_cast<size_t>(joint.second)].source.c_str(), joint.second, joint.first,
            static_cast<double>(joint.confidence));
        ++doubts;
    }
    return doubts;
}

void Sweep::give_up(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const std::string text = formatted(format, args);
    va_end(args);
    progress_.clear();
    session_.publish_failure(text);
    throw ProgramError(text);
}

}  // namespace ozr_pano
