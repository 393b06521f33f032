// The program's command line. The commands themselves are replaced by checks of what reaches them.
#include <stdlib.h>

#include <string>
#include <vector>

#include "cli/command_line.h"
#include "commands/commands.h"
#include "fuzz_input.h"
#include "media/picture_io.h"

using namespace ozr_pano;

namespace
{

void _require(bool holds)
{
    if (!holds)
        abort();
}

void _require_common(const CommonOptions& options)
{
    _require(is_picture_name(options.output) && options.jpeg_quality >= 1 && options.jpeg_quality <= 100);
}

void _require_side(int32_t side)
{
    _require(side >= 96 && side <= 4096 && side % 2 == 0);
}

}  // namespace

// In the place of the commands' own: the linker takes no second definition
// out of the program's parts.
namespace ozr_pano
{

void run_demo(const DemoOptions& options)
{
    _require_common(options);
    _require(options.pictures >= 1 && options.pictures <= 10);
    _require_side(options.size.width);
    _require_side(options.size.height);
    _require(options.focal >= 0.6 && options.focal <= 2.2 && options.lens >= -0.1 && options.lens <= 0.1 &&
             options.tilt >= -15 && options.tilt <= 15 && options.exposure >= 0 && options.exposure <= 50 &&
             options.vignetting >= 0 && options.vignetting <= 80 && options.shutter >= 0 &&
             options.shutter <= 50 && options.walkers >= 0 && options.walkers <= 20);
}

void run_stitch(const StitchOptions& options)
{
    _require_common(options);
    _require(!options.pictures.empty());
}

void run_video(const VideoOptions& options)
{
    _require_common(options);
}

void run_replay(const ReplayOptions&) {}

void run_convert(const ConvertOptions& options)
{
    _require(options.sample >= 0 && options.sample <= 16384 && options.jpeg_quality >= 1 &&
             options.jpeg_quality <= 100);
}

}  // namespace ozr_pano

// One argument a line.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::vector<std::string> arguments = {"ozr-pano", ""};
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\n')
            arguments.emplace_back();
        else if (data[i] != 0)
            arguments.back().push_back(static_cast<char>(data[i]));
    }
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(&argument[0]);
    argv.push_back(nullptr);
    run_command_line(static_cast<int>(arguments.size()), argv.data());
    return 0;
}
