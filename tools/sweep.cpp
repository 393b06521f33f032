// One sweep through the library, as a camera application drives it.
#include "sweep.h"

#include "image_owner.h"
#include "library_log.h"
#include "picture_io.h"
#include "program_error.h"

namespace
{

/** Why the library refuses a picture of a sweep. */
const char* _picture_reason(ozr_err error)
{
    switch (error) {
    case ozr_err_invalid_argument:
        return "the picture does not fit the others or is too small";
    case ozr_err_invalid_status:
        return "the direction of the sweep is not known, or the sweep has ended";
    case ozr_err_out_of_bound:
        return "the sweep is full; the higher the overlap, the more pictures it takes";
    case ozr_err_nomem:
        return "out of memory";
    default:
        return "the library cannot take it";
    }
}

/** Why the library composes no panorama. */
const char* _composition_reason(ozr_err error)
{
    switch (error) {
    case ozr_err_not_supported:
        return "the pictures cannot be placed: they do not overlap or drift too far across the sweep";
    case ozr_err_invalid_argument:
        return "the pictures cannot be placed: the panorama would have an impossible size";
    case ozr_err_nomem:
        return "out of memory";
    default:
        return "the library cannot compose them";
    }
}

}  // namespace

Sweep::Sweep(const CommonOptions& options, Report* report, ozr_panorama_direction direction, int32_t overlap)
    : options_(options), report_(report), progress_(!options.verbose)
{
    ozr_config config;
    ozr_panorama_get_default_config(&config);
    set_log_hooks(&config, options.verbose);
    ozr_panorama* handle = nullptr;
    ozr_err error = ozr_panorama_create(&config, &handle);
    handle_.reset(handle);
    if (error != ozr_success)
        fail("no session: %s", ozr_err_to_string(error));
    const ozr_panorama_parameters parameters = {overlap, direction};
    error = ozr_panorama_set_parameters(handle, &parameters);
    if (error == ozr_err_not_supported)
        throw UsageError("--overlap: " + std::to_string(overlap) + " is not in the range " +
                         std::to_string(handle->min_overlapping_ratio) + " to " +
                         std::to_string(handle->max_overlapping_ratio));
    if (error != ozr_success)
        fail("the parameters are refused (%s)", ozr_err_to_string(error));
    report_->direction = direction;
}

Announcement Sweep::watch(const ozr_image& preview, const std::string& name)
{
    const Report::Lap lap = report_->time("detect");
    Announcement announcement;
    const ozr_err result = ozr_panorama_detect_frame_to_stitch(handle_.get(), &preview, &announcement.offset,
                                                               &report_->direction);
    // A sweep that has all its pictures closes itself, and the next preview is refused.
    announcement.ended = result == ozr_err_invalid_status && report_->pictures.size() > 1;
    if (result < 0 && !announcement.ended)
        fail("%s: the preview is refused (%s)", name.c_str(), ozr_err_to_string(result));
    announcement.due = result > 0;
    ++report_->previews;
    progress_.show("following %s, %zu pictures", name.c_str(), report_->pictures.size());
    return announcement;
}

void Sweep::add(ozr_image* picture, PictureEntry entry)
{
    progress_.show("stitching picture %zu: %s", report_->pictures.size(), entry.source.c_str());
    const Report::Lap lap = report_->time("stitch");
    const ozr_err error =
        ozr_panorama_stitch_one_image(handle_.get(), picture, entry.has_offset ? &entry.offset : nullptr);
    if (error != ozr_success)
        fail("%s: %s (%s)", entry.source.c_str(), _picture_reason(error), ozr_err_to_string(error));
    report_->picture_width = picture->width;
    report_->picture_height = picture->height;
    report_->pictures.push_back(std::move(entry));
}

void Sweep::finish()
{
    const int given = static_cast<int>(report_->pictures.size());
    progress_.show("composing %d pictures", given);
    ozr_image panorama = {};
    {
        const Report::Lap lap = report_->time("compose");
        const ozr_err error = ozr_panorama_run(handle_.get(), &panorama);
        if (error != ozr_success)
            fail("%s (%s)", _composition_reason(error), ozr_err_to_string(error));
    }
    report_->pictures_used = pictures_used_by_log(given);
    if (given > 1 && report_->pictures_used == 1)
        fail("the pictures cannot be placed: the second drifts too far across the sweep");
    if (report_->pictures_used < given)
        say("only %d of %d pictures are used: the others drift too far across the sweep",
            report_->pictures_used, given);
    report_->width = panorama.width;
    report_->height = panorama.height;
    progress_.show("writing %s", options_.output.c_str());
    {
        const Report::Lap lap = report_->time("write");
        write_picture(options_.output, convert_to_picture(panorama), options_.quality);
    }
    report_->output = options_.output;
    progress_.clear();
    print_report(*report_, options_.json);
}
