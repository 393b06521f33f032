// A session of the library, with everything that is noted while it is driven.
#include "sweep/session.h"

#include "base/file_io.h"
#include "base/program_error.h"
#include "media/image_owner.h"
#include "media/picture_io.h"
#include "media/thumbnail.h"
#include "report/library_log.h"
#include "report/page.h"

namespace ozr_pano
{

namespace
{

constexpr int32_t kThumbnailExtent = 320;  // pixels of the longer side

/** What the page shows of an image; nothing where no pair of pixels is left that shares its chroma. */
Picture _shown(const ozr_image& image)
{
    return image.width > 1 && image.height > 1 ? convert_to_picture(image) : Picture();
}

}  // namespace

Session::Session(const CommonOptions& options, Journal* journal) : options_(options), journal_(journal)
{
    if (!options.report.empty())
        require_writable(options.report);
    ozr_config config;
    ozr_panorama_get_default_config(&config);
    set_log_hooks(&config, options.verbose, !options.report.empty());
    ozr_panorama* handle = nullptr;
    const ozr_err error = ozr_panorama_create(&config, &handle);
    handle_.reset(handle);
    if (error != ozr_success)
        fail("no session: %s; close other programs if memory is short", ozr_err_to_string(error));
    if (!options.record.empty())
        recorder_ = std::make_unique<Recorder>(options.record, config.description);
    if (!options.report.empty())
        retrace_ = std::make_unique<Retrace>();
}

void Session::begin(RecordedCall call, const ozr_image* image)
{
    if (recorder_)
        recorder_->begin(std::move(call), image);
}

void Session::end(const RecordedCall& answer, const ozr_image* panorama)
{
    if (recorder_)
        recorder_->end(answer, panorama);
}

ozr_err Session::set_parameters(const ozr_panorama_parameters& parameters)
{
    RecordedCall call;
    call.kind = CallKind::set_parameters;
    call.parameters = parameters;
    begin(call);
    call.result = ozr_panorama_set_parameters(handle_.get(), &parameters);
    end(call);
    if (retrace_ && call.result == ozr_success)
        retrace_->set_parameters(parameters);
    journal_->overlap = parameters.overlapping_ratio;
    journal_->direction = parameters.direction;
    return call.result;
}

ozr_err Session::detect_frame_to_stitch(const ozr_image& preview, ozr_point* offset,
                                        ozr_panorama_direction* direction)
{
    RecordedCall call;
    call.kind = CallKind::detect_frame_to_stitch;
    begin(call, &preview);
    {
        const Journal::Lap lap = journal_->time("detect");
        call.result = ozr_panorama_detect_frame_to_stitch(handle_.get(), &preview, &call.found_offset,
                                                          &call.found_direction);
    }
    end(call);
    if (retrace_)
        retrace_->watch(preview);
    if (call.result < 0)
        return call.result;
    *offset = call.found_offset;
    *direction = journal_->direction = call.found_direction;
    journal_->previews.push_back({call.found_offset, call.result, journal_->pictures.size()});
    return call.result;
}

ozr_err Session::stitch_one_image(ozr_image* picture, PictureEntry entry)
{
    RecordedCall call;
    call.kind = CallKind::stitch_one_image;
    call.has_offset = entry.has_offset;
    call.offset = entry.offset;
    const ozr_point* offset = entry.has_offset ? &entry.offset : nullptr;
    begin(call, picture);
    {
        const Journal::Lap lap = journal_->time("stitch");
        call.result = ozr_panorama_stitch_one_image(handle_.get(), picture, offset);
    }
    end(call);
    if (retrace_)
        retrace_->add(picture, offset);
    if (call.result != ozr_success)
        return call.result;
    if (retrace_)
        entry.thumbnail = shrink(_shown(*picture), kThumbnailExtent);
    journal_->picture_width = picture->width;
    journal_->picture_height = picture->height;
    journal_->pictures.push_back(std::move(entry));
    return ozr_success;
}

ozr_err Session::reset()
{
    RecordedCall call;
    call.kind = CallKind::reset;
    begin(call);
    call.result = ozr_panorama_reset(handle_.get());
    end(call);
    if (retrace_)
        retrace_->reset();
    journal_->pictures.clear();
    journal_->previews.clear();
    return call.result;
}

ozr_err Session::run(ozr_image* panorama)
{
    RecordedCall call;
    call.kind = CallKind::run;
    begin(call);
    forget_pictures_used();
    {
        const Journal::Lap lap = journal_->time("compose");
        call.result = ozr_panorama_run(handle_.get(), panorama);
    }
    end(call, call.result == ozr_success ? panorama : nullptr);
    if (call.result == ozr_success) {
        journal_->pictures_used = pictures_used_by_log(static_cast<int>(journal_->pictures.size()));
        journal_->width = panorama->width;
        journal_->height = panorama->height;
    }
    return call.result;
}

void Session::publish(const ozr_image& panorama)
{
    if (!options_.output.empty()) {
        const Journal::Lap lap = journal_->time("write");
        write_picture(options_.output, convert_to_picture(panorama), options_.quality);
    }
    journal_->output = options_.output;
    write_page(panorama);
}

void Session::publish_failure(const std::string& reason)
{
    journal_->failure = reason;
    write_page(ozr_image());
}

void Session::write_page(const ozr_image& panorama)
{
    if (!retrace_)
        return;
    const int used = panorama.data != nullptr ? journal_->pictures_used : 0;
    const ReportPage page = {*journal_, retrace_->layout(panorama, used), _shown(panorama), kept_log(),
                             limits().description};
    write_report_page(options_.report, page);
    journal_->report = options_.report;
}

}  // namespace ozr_pano
