// A panning video: the library picks its pictures from the frames.
#include "commands.h"
#include "file_io.h"
#include "image_owner.h"
#include "program_error.h"
#include "y4m.h"

#include <errno.h>
#include <string.h>

namespace
{

struct CloseFile {
    void operator()(FILE* file) const
    {
        if (file != stdin)
            fclose(file);
    }
};

void _follow(Y4mReader& clip, Sweep& sweep, Report* report)
{
    ImageOwner frame(clip.width() & ~1, clip.height() & ~1);
    for (int number = 0;; ++number) {
        {
            const Report::Lap lap = report->time("read");
            if (!clip.read_frame(frame.get()))
                return;
        }
        PictureEntry entry;
        entry.source = "frame " + std::to_string(number);
        if (number > 0) {
            const Announcement announcement = sweep.watch(*frame.get(), entry.source);
            if (announcement.ended)
                return;
            if (!announcement.due)
                continue;
            entry.has_offset = true;
            entry.offset = announcement.offset;
        }
        sweep.add(frame.get(), std::move(entry));
    }
}

}  // namespace

void run_video(const VideoOptions& options)
{
    require_writable(options.output);
    const bool piped = options.clip == "-";
    const std::string name = piped ? "standard input" : options.clip;
    const std::unique_ptr<FILE, CloseFile> file(piped ? stdin : fopen(options.clip.c_str(), "rb"));
    if (!file)
        fail("%s: cannot be read: %s", name.c_str(), strerror(errno));
    Y4mReader clip(file.get(), name);
    if (clip.width() % 2 != 0 || clip.height() % 2 != 0)
        say("the frames are cropped from %dx%d to %dx%d: sizes must be even", clip.width(), clip.height(),
            clip.width() & ~1, clip.height() & ~1);
    Report report;
    report.command = "video";
    Sweep sweep(options, &report, options.direction, options.overlap);
    _follow(clip, sweep, &report);
    if (report.pictures.empty())
        fail("%s: the stream has no frames", name.c_str());
    if (report.pictures.size() == 1)
        fail("%s: the camera hardly moves, no second picture was due", name.c_str());
    sweep.finish();
}
