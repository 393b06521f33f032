// The commands. Each throws ProgramError when its work cannot be done.
#ifndef COMMANDS_H
#define COMMANDS_H

#include "sweep/sweep.h"

#include <optional>

namespace ozr_pano
{

// A size as users write it: "1280x960".
struct Size {
    int32_t width = 0, height = 0;
};

struct DemoOptions : SweepOptions {
    ozr_panorama_direction direction = ozr_panorama_direction_right;
    int32_t pictures = 8;
    Size size = {1280, 960};
    Size preview = {0, 0};  // 0: like the pictures, with 640 pixels on the longer side
    uint32_t seed = 1;
    double focal = 1;       // focal length, of what is usual
    double lens = 0;        // radial term of the lens
    double tilt = 0;        // degrees down, or right in a vertical sweep
    double exposure = 0;    // percent by which the brightness of the pictures differs
    double vignetting = 0;  // percent of the light that the corners lose
    double shutter = 0;     // milliseconds from the first row to the last
    int32_t walkers = 0;
};

struct StitchOptions : SweepOptions {
    // Without one the refined quality finds it, the classic one takes right.
    std::optional<ozr_panorama_direction> direction;
    int32_t overlap = 70;  // percent
    std::vector<std::string> pictures;
};

struct VideoOptions : SweepOptions {
    ozr_panorama_direction direction = ozr_panorama_direction_auto;
    int32_t overlap = 70;
    std::string clip;  // a file's name, or "-"
};

struct ReplayOptions : CommonOptions {
    std::string folder;
};

struct ConvertOptions {
    std::string input, output;
    bool has_format = false;  // false: the output's name says which
    ozr_image_format format = ozr_image_format_rgba32;
    bool is_raw = false;  // the input has no header: `from` and `size` describe it
    ozr_image_format from = ozr_image_format_rgba32;
    Size size;
    bool flip = false;
    int32_t sample = 0;     // keep every n-th pixel of every n-th row, as grey; 0: all of them
    int jpeg_quality = 90;  // 1 to 100
};

// A simulated camera sweeps across a painted scene.
void run_demo(const DemoOptions& options);

// Pictures that were taken by panning.
void run_stitch(const StitchOptions& options);

// A panning video: every frame is a preview, the announced ones are the pictures.
void run_video(const VideoOptions& options);

// The calls of a recording; throws Mismatch when the library answers otherwise than recorded.
void run_replay(const ReplayOptions& options);

// One picture or raw file becomes another.
void run_convert(const ConvertOptions& given);

}  // namespace ozr_pano

#endif
