// A session of the library, with everything that is noted while it is driven.
#include "sweep/session.h"

#include "base/file_io.h"
#include "base/program_error.h"
#include "media/image_owner.h"
#include "media/picture_io.h"
#include "media/thumbnail.h"
#include "report/library_log.h"
#include "report/page.h"
#include "sweep/layout_reader.h"
#include "sweep/metadata.h"

#include <algorithm>
#include <cmath>

namespace ozr_pano
{

namespace
{

constexpr int32_t kThumbnailExtent = 320;  // pixels of the longer side

// What the page shows of an image; nothing where no pair of pixels is left that shares its chroma.
Picture _shown(const ozr_image& image)
{
    return image.width > 1 && image.height > 1 ? convert_to_picture(image) : Picture();
}

// Where the pictures went, by the joints that are trusted; `asked` where there is none.
ozr_panorama_direction _direction_of(const std::vector<ozr_panorama_joint>& joints,
                                     ozr_panorama_direction asked)
{
    float x = 0, y = 0;
    for (const ozr_panorama_joint& joint : joints) {
        if (joint.used == 0 || joint.confidence < kTrustedJoint)
            continue;
        x += joint.offset_x;
        y += joint.offset_y;
    }
    if (std::max(std::abs(x), std::abs(y)) < 1)
        return asked;
    if (std::abs(x) >= std::abs(y))
        return x > 0 ? ozr_panorama_direction_right : ozr_panorama_direction_left;
    return y > 0 ? ozr_panorama_direction_down : ozr_panorama_direction_up;
}

}  // namespace

Session::Session(const CommonOptions& options, Journal* journal) : options_(options), journal_(journal)
{
    if (wants_page())
        require_writable(options.report);
    ozr_config config;
    ozr_panorama_get_default_config(&config);
    set_log_hooks(&config, options.verbose, wants_page());
    ozr_panorama* handle = nullptr;
    const ozr_err error = ozr_panorama_create(&config, &handle);
    handle_.reset(handle);
    if (error != ozr_success)
        fail("no session: %s; close other programs if memory is short", ozr_err_to_string(error));
    if (!options.record.empty())
        recorder_ = std::make_unique<Recorder>(options.record, config.description);
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
    journal_->overlap = parameters.overlapping_ratio;
    journal_->direction = parameters.direction;
    return call.result;
}

ozr_err Session::set_quality(ozr_panorama_quality quality)
{
    RecordedCall call;
    call.kind = CallKind::set_quality;
    call.quality = quality;
    begin(call);
    call.result = ozr_panorama_set_quality(handle_.get(), quality);
    end(call);
    if (call.result == ozr_success)
        journal_->quality = quality;
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
    if (call.result != ozr_success)
        return call.result;
    if (wants_page())
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
    journal_->pictures.clear();
    journal_->previews.clear();
    journal_->quality = ozr_panorama_quality_classic;
    return call.result;
}

ozr_err Session::run(ozr_image* panorama)
{
    RecordedCall call;
    call.kind = CallKind::run;
    begin(call);
    {
        const Journal::Lap lap = journal_->time("compose");
        call.result = ozr_panorama_run(handle_.get(), panorama);
    }
    end(call, call.result == ozr_success ? panorama : nullptr);
    if (call.result == ozr_success)
        note_result(*panorama);
    return call.result;
}

void Session::note_result(const ozr_image& panorama)
{
    journal_->width = panorama.width;
    journal_->height = panorama.height;
    journal_->joints.clear();
    journal_->cameras.clear();
    ozr_panorama_joint joint;
    for (int32_t i = 0; ozr_panorama_get_joint(handle_.get(), i, &joint) == ozr_success; ++i)
        journal_->joints.push_back(joint);
    if (journal_->quality == ozr_panorama_quality_classic) {
        journal_->pictures_used = count_used(*handle_);
        return;
    }
    ozr_panorama_camera camera;
    for (int32_t i = 0; ozr_panorama_get_camera(handle_.get(), i, &camera) == ozr_success; ++i)
        journal_->cameras.push_back(camera);
    journal_->pictures_used =
        static_cast<int>(std::count_if(journal_->cameras.begin(), journal_->cameras.end(),
                                       [](const ozr_panorama_camera& each) { return each.used != 0; }));
    journal_->direction = _direction_of(journal_->joints, journal_->direction);
}

void Session::publish(const ozr_image& panorama, const Counterpart* counterpart)
{
    if (!options_.output.empty()) {
        const Journal::Lap lap = journal_->time("write");
        const Metadata metadata = options_.metadata ? panorama_metadata(*journal_, *handle_) : Metadata();
        write_picture(options_.output, convert_to_picture(panorama), options_.jpeg_quality, metadata);
    }
    journal_->output = options_.output;
    write_page(panorama, counterpart);
}

void Session::publish_failure(const std::string& reason)
{
    journal_->failure = reason;
    write_page(ozr_image(), nullptr);
}

void Session::write_page(const ozr_image& panorama, const Counterpart* counterpart)
{
    if (!wants_page())
        return;
    const ReportPage page = {*journal_,
                             read_layout(*handle_, panorama, journal_->joints),
                             _shown(panorama),
                             kept_log(),
                             limits().description,
                             counterpart};
    write_report_page(options_.report, page);
    journal_->report = options_.report;
}

}  // namespace ozr_pano
