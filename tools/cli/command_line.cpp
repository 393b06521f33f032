#include "cli/command_line.h"

#include "base/names.h"
#include "base/program_error.h"
#include "commands/commands.h"
#include "media/picture_io.h"

#include <CLI/CLI.hpp>

#include <errno.h>
#include <new>
#include <stdio.h>
#include <string.h>

namespace ozr_pano
{

namespace
{

constexpr int kExitFailure = 1, kExitUsage = 2, kExitMismatch = 3;

constexpr char kFormatNames[] = "nv12|nv21|yv12|yuy2|gray|rgba";

const std::vector<ozr_panorama_direction> kDirections = {
    ozr_panorama_direction_right, ozr_panorama_direction_left, ozr_panorama_direction_down,
    ozr_panorama_direction_up};

std::string _banner()
{
    ozr_config config;
    ozr_panorama_get_default_config(&config);
    return config.description;
}

// `direction`: a direction, or an optional one. `preset`: what counts where none is given.
template <class Direction>
void _add_direction(CLI::App* command, Direction* direction,
                    const std::vector<ozr_panorama_direction>& choices, const std::string& preset)
{
    std::string names;
    for (const ozr_panorama_direction choice : choices)
        names += (names.empty() ? "" : "|") + std::string(direction_name(choice));
    const auto parse = [direction, choices, names](const std::string& text) {
        for (const ozr_panorama_direction choice : choices) {
            if (text == direction_name(choice)) {
                *direction = choice;
                return;
            }
        }
        throw CLI::ValidationError("--direction", text + " is none of " + names);
    };
    command->add_option_function<std::string>("-d,--direction", parse, "Where the camera pans")
        ->option_text(names + " [" + preset + "]");
}

void _add_overlap(CLI::App* command, int32_t* overlap)
{
    command->add_option("--overlap", *overlap, "Overlap of neighbouring pictures in percent, 50 to 90")
        ->option_text("P [" + std::to_string(*overlap) + "]");
}

void _add_jpeg_quality(CLI::App* command, const char* names, int* quality)
{
    command->add_option(names, *quality, "Quality of a JPEG, 1 to 100")
        ->check(CLI::Range(1, 100))
        ->option_text("Q [" + std::to_string(*quality) + "]");
}

void _add_common(CLI::App* command, CommonOptions* options, const char* output)
{
    options->output = output;
    command->add_option("-o,--output", options->output, "The panorama's file: .png, .jpg or .jpeg")
        ->check([](const std::string& path) {
            return is_picture_name(path) ? std::string() : path + " does not end in .png, .jpg or .jpeg";
        })
        ->option_text(options->output.empty() ? "FILE" : "FILE [" + options->output + "]");
    command->add_option("--report", options->report, "Also write a page that shows what was done")
        ->option_text("FILE.html");
    command->add_flag_callback(
        "--no-metadata", [options] { options->metadata = false; },
        "Leave camera, time, place and geometry out of a JPEG");
    command->add_flag("--json", options->json, "Print the summary as JSON");
    command->add_flag("--verbose", options->verbose, "Show the library's log on standard error");
}

// What makes a panorama of a sweep. `--quality` had a JPEG's number before there were two
// qualities, and still takes one.
void _add_sweep(CLI::App* command, SweepOptions* options)
{
    const auto parse = [options](const std::string& text) {
        if (parse_quality(text, &options->quality))
            return;
        if (text.empty() || text.size() > 3 || text.find_first_not_of("0123456789") != std::string::npos ||
            std::stoi(text) < 1 || std::stoi(text) > 100)
            throw CLI::ValidationError("--quality", text + " is neither refined nor classic");
        options->jpeg_quality = std::stoi(text);
    };
    command
        ->add_option_function<std::string>("--quality", parse,
                                           "How the pictures are joined; classic takes less memory")
        ->option_text("refined|classic [refined]");
    _add_jpeg_quality(command, "--jpeg-quality", &options->jpeg_quality);
    command->add_flag("--strict", options->strict,
                      "Exit with 1 when a picture is left out or a joint not trusted");
    command->add_flag("--compare", options->compare, "Show both qualities side by side in the report")
        ->needs("--report");
    command
        ->add_option("--record", options->record,
                     "Also record the library's calls into a new folder, for replay")
        ->option_text("DIR");
}

// A side of a demo picture: even, and neither too small to be aligned nor larger than a scene is
// painted for.
bool _parse_side(const std::string& digits, int32_t* side)
{
    constexpr int32_t kMinSide = 96, kMaxSide = 4096;
    if (digits.empty() || digits.size() > 4 || digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    *side = std::stoi(digits);
    return *side >= kMinSide && *side <= kMaxSide && *side % 2 == 0;
}

void _add_size(CLI::App* command, const char* name, Size* size, const char* description,
               const std::string& preset)
{
    const auto parse = [name, size](const std::string& text) {
        const size_t cross = text.find('x');
        if (cross == std::string::npos || !_parse_side(text.substr(0, cross), &size->width) ||
            !_parse_side(text.substr(cross + 1), &size->height))
            throw CLI::ValidationError(name,
                                       text + " is no size: write 1280x960, even numbers of 96 to 4096");
    };
    command->add_option_function<std::string>(name, parse, description)->option_text("WxH [" + preset + "]");
}

// Not by CLI::Range, which takes what is no number.
template <class Number>
struct Limits {
    Number low, high;
    const char* text;  // what the help says behind the option's name
};

template <class Number>
void _add_range(CLI::App* command, const char* name, Number* value, const Limits<Number>& limits,
                const char* description)
{
    const auto parse = [=](const Number& given) {
        if (!(given >= limits.low && given <= limits.high))
            throw CLI::ValidationError(name, CLI::detail::to_string(given) + " is not in range");
        *value = given;
    };
    command->add_option_function<Number>(name, parse, description)->option_text(limits.text);
}

// What the demonstration's camera and street have beyond the plainest.
void _add_camera(CLI::App* command, DemoOptions* options)
{
    _add_range(command, "--focal", &options->focal, {0.6, 2.2, "F [1]"},
               "Focal length, 0.6 (wide) to 2.2 times the usual one");
    _add_range(command, "--lens", &options->lens, {-0.1, 0.1, "K [0]"},
               "Radial distortion of the lens, -0.1 to 0.1");
    _add_range(command, "--tilt", &options->tilt, {-15.0, 15.0, "DEG [0]"},
               "Hold the camera tilted across the sweep, -15 to 15 degrees");
    _add_range(command, "--exposure", &options->exposure, {0.0, 50.0, "P [0]"},
               "Let the brightness of the pictures differ by 0 to 50 percent");
    _add_range(command, "--vignetting", &options->vignetting, {0.0, 80.0, "P [0]"},
               "Light that the corners lose, 0 to 80 percent");
    _add_range(command, "--shutter", &options->shutter, {0.0, 50.0, "MS [0]"},
               "Rolling shutter: 0 to 50 ms from the first row to the last");
    _add_range(command, "--walkers", &options->walkers, {0, 20, "N [0]"},
               "People who walk through the scene, 0 to 20");
}

CLI::App* _add_demo(CLI::App* app, DemoOptions* options)
{
    CLI::App* command = app->add_subcommand("demo", "Sweep a simulated camera across a painted scene");
    _add_common(command, options, "panorama.png");
    _add_sweep(command, options);
    _add_direction(command, &options->direction, kDirections, direction_name(options->direction));
    command->add_option("-n,--pictures", options->pictures, "How many pictures to take, 1 to 10")
        ->check(CLI::Range(1, 10))
        ->option_text("N [" + std::to_string(options->pictures) + "]");
    _add_size(command, "--size", &options->size, "Size of the pictures", "1280x960");
    _add_size(command, "--preview", &options->preview, "Size of the preview frames, of the same shape",
              "640x480, or so");
    command->add_option("--seed", options->seed, "Another number gives another scene and another hand")
        ->option_text("S [" + std::to_string(options->seed) + "]");
    _add_camera(command, options);
    return command;
}

CLI::App* _add_stitch(CLI::App* app, StitchOptions* options)
{
    CLI::App* command = app->add_subcommand("stitch", "Stitch pictures that were taken by panning");
    _add_common(command, options, "panorama.jpg");
    _add_sweep(command, options);
    _add_direction(command, &options->direction, kDirections, "found; right where classic");
    _add_overlap(command, &options->overlap);
    command
        ->add_option("pictures", options->pictures,
                     "1 to 10 JPEG or PNG files of one size, in the order of the sweep")
        ->required()
        ->option_text("PICTURES...");
    return command;
}

CLI::App* _add_video(CLI::App* app, VideoOptions* options)
{
    CLI::App* command = app->add_subcommand("video", "Make a panorama of a panning video");
    _add_common(command, options, "panorama.png");
    _add_sweep(command, options);
    std::vector<ozr_panorama_direction> directions = kDirections;
    directions.push_back(ozr_panorama_direction_auto);
    _add_direction(command, &options->direction, directions, direction_name(options->direction));
    _add_overlap(command, &options->overlap);
    command->add_option("clip", options->clip, "YUV4MPEG2 stream in 4:2:0; - reads standard input")
        ->required()
        ->option_text("CLIP.y4m|-");
    command->footer("Other formats by way of a pipe:\n"
                    "  ffmpeg -i clip.mp4 -pix_fmt yuv420p -f yuv4mpegpipe - | ozr-pano video -");
    return command;
}

CLI::App* _add_replay(CLI::App* app, ReplayOptions* options)
{
    CLI::App* command =
        app->add_subcommand("replay", "Repeat a recording and compare what the library answers");
    _add_common(command, options, "");
    _add_jpeg_quality(command, "--jpeg-quality,--quality", &options->jpeg_quality);
    command->add_option("folder", options->folder, "Folder that --record or an application wrote")
        ->required()
        ->option_text("DIR");
    command->footer("Exit status: 0 all answers are as recorded, 3 some differ, 1 no replay was possible.");
    return command;
}

ozr_image_format _format(const char* option, const std::string& text)
{
    ozr_image_format format = ozr_image_format_nv12;
    if (!parse_format(text, &format))
        throw CLI::ValidationError(option, text + " is none of " + kFormatNames);
    return format;
}

// An option that is a pixel format; whether it is given is kept, too.
CLI::Option* _add_format(CLI::App* command, const char* option, const char* description,
                         ozr_image_format* format, bool* is_given)
{
    const auto take = [=](const std::string& name) {
        *format = _format(option, name);
        *is_given = true;
    };
    return command->add_option_function<std::string>(option, take, description);
}

// What raw bytes do not say of themselves.
void _add_raw_input(CLI::App* command, ConvertOptions* options)
{
    _add_format(command, "--from", "Read raw bytes of this format; needs --size", &options->from,
                &options->is_raw)
        ->option_text("FORMAT");
    command
        ->add_option_function<std::string>(
            "--size",
            [options](const std::string& text) {
                char rest = 0;
                if (sscanf(text.c_str(), "%5dx%5d%c", &options->size.width, &options->size.height, &rest) !=
                    2)
                    throw CLI::ValidationError("--size", text + " is no size: write 1280x960");
            },
            "Size of raw input")
        ->option_text("WxH");
}

CLI::App* _add_convert(CLI::App* app, ConvertOptions* options)
{
    CLI::App* command =
        app->add_subcommand("convert", "Convert a picture or raw file by the library's operations");
    command->add_option("input", options->input, "JPEG or PNG file, or with --from a raw one")
        ->required()
        ->option_text("IN");
    command
        ->add_option("output", options->output,
                     ".png or .jpg, or any other name for raw bytes: .nv12, .gray ...")
        ->required()
        ->option_text("OUT");
    _add_format(command, "--format",
                "Pixel format of the result; without it OUT ends in .FORMAT, or is a picture file",
                &options->format, &options->has_format)
        ->option_text(kFormatNames);
    _add_raw_input(command, options);
    command->add_flag("--flip", options->flip, "Mirror left to right");
    command->add_option("--sample", options->sample, "Keep every N-th pixel of every N-th row, as grey")
        ->check(CLI::Range(1, 16384))
        ->option_text("N");
    _add_jpeg_quality(command, "--jpeg-quality,--quality", &options->jpeg_quality);
    return command;
}

int _run(int argc, char** argv)
{
    CLI::App app("Panoramas from a camera's sweep.", "ozr-pano");
    app.set_version_flag("--version", _banner());
    app.require_subcommand(1);
    app.failure_message([&app](const CLI::App*, const CLI::Error& error) {
        std::string text = error.what();
        if (app.get_subcommands().empty() && app.remaining_size() > 0)
            text = app.remaining().front() + " is no command";
        return "ozr-pano: " + text + " (--help shows the usage)\n";
    });
    DemoOptions demo;
    StitchOptions stitch;
    VideoOptions video;
    ReplayOptions replay;
    ConvertOptions convert;
    const CLI::App* demo_command = _add_demo(&app, &demo);
    const CLI::App* stitch_command = _add_stitch(&app, &stitch);
    const CLI::App* video_command = _add_video(&app, &video);
    const CLI::App* replay_command = _add_replay(&app, &replay);
    _add_convert(&app, &convert);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kExitUsage;
    }
    if (demo_command->parsed())
        run_demo(demo);
    else if (stitch_command->parsed())
        run_stitch(stitch);
    else if (video_command->parsed())
        run_video(video);
    else if (replay_command->parsed())
        run_replay(replay);
    else
        run_convert(convert);
    return 0;
}

}  // namespace

int run_command_line(int argc, char** argv)
{
    try {
        const int status = _run(argc, argv);
        if (fflush(stdout) != 0)
            fail_file("standard output", "written", errno);
        return status;
    } catch (const UsageError& error) {
        say("%s", error.what());
        return kExitUsage;
    } catch (const Mismatch& error) {
        say("%s", error.what());
        return kExitMismatch;
    } catch (const std::bad_alloc&) {
        say("out of memory; give smaller or fewer pictures");
        return kExitFailure;
    } catch (const std::exception& error) {
        say("%s", error.what());
        return kExitFailure;
    }
}

}  // namespace ozr_pano
