// The three commands. Each throws ProgramError when its work cannot be done.
#ifndef COMMANDS_H
#define COMMANDS_H

#include "sweep.h"

/** A size as users write it: "1280x960". */
struct Size {
    int32_t width = 0, height = 0;
};

struct DemoOptions : CommonOptions {
    ozr_panorama_direction direction = ozr_panorama_direction_right;
    int32_t pictures = 8;
    Size size = {1280, 960};
    Size preview = {0, 0};  // 0: like the pictures, with 640 pixels on the longer side
    uint32_t seed = 1;
};

struct StitchOptions : CommonOptions {
    ozr_panorama_direction direction = ozr_panorama_direction_right;
    int32_t overlap = 70;  // percent
    std::vector<std::string> pictures;
};

struct VideoOptions : CommonOptions {
    ozr_panorama_direction direction = ozr_panorama_direction_auto;
    int32_t overlap = 70;
    std::string clip;  // a file's name, or "-"
};

/** A simulated camera sweeps across a painted scene. */
void run_demo(const DemoOptions& options);

/** Pictures that were taken by panning. */
void run_stitch(const StitchOptions& options);

/** A panning video: every frame is a preview, the announced ones are the pictures. */
void run_video(const VideoOptions& options);

#endif
