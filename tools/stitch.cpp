// Pictures from files, placed by the overlap that their photographer kept.
#include "commands.h"
#include "file_io.h"
#include "image_owner.h"
#include "picture_io.h"
#include "program_error.h"

namespace
{

/** Reads a picture, checks that it fits the ones before, and converts it. */
void _load(const std::string& path, Report* report, ozr_image* nv12)
{
    Picture picture;
    {
        const Report::Lap lap = report->time("read");
        picture = read_picture(path);
    }
    const int32_t width = picture.width & ~1, height = picture.height & ~1;
    if (report->pictures.empty()) {
        if (width < 2 || height < 2)
            fail("%s: %dx%d pixels are too few", path.c_str(), picture.width, picture.height);
        if (width != picture.width || height != picture.height)
            say("the pictures are cropped from %dx%d to %dx%d: sizes must be even", picture.width,
                picture.height, width, height);
    } else if (width != report->picture_width || height != report->picture_height) {
        fail("%s: %dx%d pixels, but the first picture has %dx%d", path.c_str(), width, height,
             report->picture_width, report->picture_height);
    }
    const Report::Lap lap = report->time("convert");
    convert_to_nv12(picture, nv12);
}

}  // namespace

void run_stitch(const StitchOptions& options)
{
    require_writable(options.output);
    Report report;
    report.command = "stitch";
    Sweep sweep(options, &report, options.direction, options.overlap);
    if (options.pictures.size() > static_cast<size_t>(sweep.max_pictures()))
        fail("%s: %zu pictures are too many, a panorama takes %d",
             options.pictures[static_cast<size_t>(sweep.max_pictures())].c_str(), options.pictures.size(),
             sweep.max_pictures());
    ImageOwner nv12;
    for (const std::string& path : options.pictures) {
        _load(path, &report, nv12.get());
        PictureEntry entry;
        entry.source = path;
        sweep.add(nv12.get(), std::move(entry));
    }
    sweep.finish();
}
