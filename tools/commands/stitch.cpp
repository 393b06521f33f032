// Pictures from files: the refined quality finds where they belong, the classic one goes by the
// overlap that their photographer kept.
#include "base/file_io.h"
#include "base/program_error.h"
#include "commands/commands.h"
#include "media/image_owner.h"
#include "media/picture_io.h"

namespace ozr_pano
{

namespace
{

// Reads a picture, checks that it fits the ones before, and converts it.
PictureEntry _load(const std::string& path, Journal* journal, ozr_image* nv12)
{
    Picture picture;
    {
        const Journal::Lap lap = journal->time("read");
        picture = read_picture(path);
    }
    const int32_t width = picture.width & ~1, height = picture.height & ~1;
    if (journal->pictures.empty()) {
        if (width < 2 || height < 2)
            fail("%s: %dx%d pixels are too few; give larger pictures", path.c_str(), picture.width,
                 picture.height);
        if (width != picture.width || height != picture.height)
            say("the pictures are cropped from %dx%d to %dx%d: sizes must be even", picture.width,
                picture.height, width, height);
    } else if (width != journal->picture_width || height != journal->picture_height) {
        fail("%s: %dx%d pixels, but the first picture has %dx%d; give pictures of one size", path.c_str(),
             width, height, journal->picture_width, journal->picture_height);
    }
    const Journal::Lap lap = journal->time("convert");
    convert_to_nv12(picture, nv12);
    PictureEntry entry;
    entry.source = path;
    entry.exif = std::move(picture.exif);
    return entry;
}

}  // namespace

void run_stitch(const StitchOptions& options)
{
    const bool is_classic = options.quality == ozr_panorama_quality_classic;
    const ozr_panorama_direction preset =
        is_classic ? ozr_panorama_direction_right : ozr_panorama_direction_auto;
    require_writable(options.output);
    Journal journal;
    journal.command = "stitch";
    Sweep sweep(options, &journal, options.direction.value_or(preset), options.overlap);
    if (options.pictures.size() > static_cast<size_t>(sweep.max_pictures()))
        fail("%s: %zu pictures are too many, a panorama takes %d; leave some out",
             options.pictures[static_cast<size_t>(sweep.max_pictures())].c_str(), options.pictures.size(),
             sweep.max_pictures());
    ImageOwner nv12;
    for (const std::string& path : options.pictures) {
        PictureEntry entry = _load(path, &journal, nv12.get());
        sweep.add(nv12.get(), std::move(entry));
    }
    sweep.finish();
}

}  // namespace ozr_pano
