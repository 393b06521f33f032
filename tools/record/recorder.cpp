// Writes a recording while a session is driven.
#include "record/recorder.h"

#include "base/file_io.h"
#include "base/program_error.h"

#include <errno.h>
#include <filesystem>
#include <string.h>

namespace ozr_pano
{

namespace
{

namespace fs = std::filesystem;

RecordedImage _describe(const ozr_image& image)
{
    RecordedImage recorded;
    recorded.geometry = image;
    recorded.geometry.data = nullptr;
    recorded.checksum = checksum_of(image.data, static_cast<size_t>(image.size));
    return recorded;
}

}  // namespace

Recorder::Recorder(const std::string& folder, const std::string& library) : folder_(folder + "/")
{
    std::error_code error;
    fs::create_directory(folder, error);
    if (error || !fs::is_directory(folder, error))
        fail("--record: %s: no folder can be made: %s; choose a name in a folder that can be written to",
             folder.c_str(), error ? error.message().c_str() : strerror(ENOTDIR));
    if (!fs::is_empty(folder, error) || error)
        fail("--record: %s is not empty; choose a new folder, so that no recording is overwritten",
             folder.c_str());
    calls_.reset(fopen((folder_ + kCallsFile).c_str(), "wb"));
    if (!calls_)
        fail_file(folder_ + kCallsFile, "written", errno);
    write(recording_head(library));
}

Recorder::~Recorder()
{
    fputs(recording_end().c_str(), calls_.get());
}

void Recorder::begin(RecordedCall call, const ozr_image* image)
{
    call_ = std::move(call);
    if (image != nullptr) {
        char name[32];
        snprintf(name, sizeof(name), "%05d.raw", images_++);
        call_.image = _describe(*image);
        call_.image.file = name;
        write_file_whole(folder_ + name, image->data, static_cast<size_t>(image->size));
    }
    write(call_text(call_));
}

void Recorder::end(const RecordedCall& answer, const ozr_image* panorama)
{
    call_.result = answer.result;
    call_.found_offset = answer.found_offset;
    call_.found_direction = answer.found_direction;
    if (panorama != nullptr)
        call_.panorama = _describe(*panorama);
    write(result_text(call_));
}

void Recorder::write(const std::string& text)
{
    if (fputs(text.c_str(), calls_.get()) < 0 || fflush(calls_.get()) != 0)
        fail_file(folder_ + kCallsFile, "written", errno);
}

}  // namespace ozr_pano
