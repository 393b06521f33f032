// A panning video: the library picks its pictures from the frames.
#include "base/file_io.h"
#include "base/program_error.h"
#include "commands/commands.h"
#include "media/image_owner.h"
#include "media/y4m.h"

#include <errno.h>

namespace ozr_pano
{

namespace
{

struct CloseFile {
    void operator()(FILE* file) const
    {
        if (file != stdin)
            fclose(file);
    }
};

void _follow(Y4mReader& clip, Sweep& sweep, Journal* journal)
{
    ImageOwner frame(clip.width() & ~1, clip.height() & ~1);
    for (int number = 0;; ++number) {
        {
            const Journal::Lap lap = journal->time("read");
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
        fail_file(name, "read", errno);
    Y4mReader clip(file.get(), name);
    if (clip.width() % 2 != 0 || clip.height() % 2 != 0)
        say("the frames are cropped from %dx%d to %dx%d: sizes must be even", clip.width(), clip.height(),
            clip.width() & ~1, clip.height() & ~1);
    Journal journal;
    journal.command = "video";
    Sweep sweep(options, &journal, options.direction, options.overlap);
    _follow(clip, sweep, &journal);
    if (journal.pictures.empty())
        fail("%s: the stream has no frames; give a longer clip", name.c_str());
    if (journal.pictures.size() == 1)
        sweep.give_up(
            "%s: the camera hardly moves, no second picture was due; give a longer clip, or raise --overlap",
            name.c_str());
    sweep.finish();
}

}  // namespace ozr_pano
