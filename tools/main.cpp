// The command line of ozr-pano.
#include "commands.h"
#include "picture_io.h"
#include "program_error.h"

#include <CLI/CLI.hpp>

#include <new>
#include <stdio.h>

namespace
{

constexpr int kExitFailure = 1, kExitUsage = 2;

using DirectionNames = std::vector<std::pair<std::string, ozr_panorama_direction>>;

const DirectionNames& _directions()
{
    static const DirectionNames names = {{"right", ozr_panorama_direction_right},
                                         {"left", ozr_panorama_direction_left},
                                         {"down", ozr_panorama_direction_down},
                                         {"up", ozr_panorama_direction_up}};
    return names;
}

DirectionNames _directions_and_auto()
{
    DirectionNames names = _directions();
    names.emplace_back("auto", ozr_panorama_direction_auto);
    return names;
}

std::string _banner()
{
    ozr_config config;
    ozr_panorama_get_default_config(&config);
    return config.description;
}

void _add_direction(CLI::App* command, ozr_panorama_direction* direction, const DirectionNames& names)
{
    std::string choice;
    for (const auto& name : names)
        choice += (choice.empty() ? "" : "|") + name.first;
    command->add_option("-d,--direction", *direction, "Where the camera pans")
        ->transform(CLI::CheckedTransformer(names).description(""))
        ->option_text(choice + " [" + direction_name(*direction) + "]");
}

void _add_overlap(CLI::App* command, int32_t* overlap)
{
    ozr_panorama* handle = nullptr;
    (void)handle;
    command->add_option("--overlap", *overlap, "Overlap of neighbouring pictures in percent, 50 to 90")
        ->option_text("P [" + std::to_string(*overlap) + "]");
}

void _add_common(CLI::App* command, CommonOptions* options, const char* output)
{
    options->output = output;
    command->add_option("-o,--output", options->output, "The panorama's file: .png, .jpg or .jpeg")
        ->check([](const std::string& path) {
            return is_picture_name(path) ? std::string() : path + " does not end in .png, .jpg or .jpeg";
        })
        ->option_text("FILE [" + options->output + "]");
    command->add_option("--quality", options->quality, "Quality of a JPEG, 1 to 100")
        ->check(CLI::Range(1, 100))
        ->option_text("Q [" + std::to_string(options->quality) + "]");
    command->add_flag("--json", options->json, "Print the summary as JSON");
    command->add_flag("--verbose", options->verbose, "Show the library's log on standard error");
}
