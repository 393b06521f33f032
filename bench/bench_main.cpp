// usage: ozr_bench [--library=NAME:PATH]... [--memory] [options of Google Benchmark] Times
// everything, the stages also in the shared libraries given; with --memory measures their memory
// instead.
#include <cstdio>
#include <cstring>

#include "benchmarks.h"
#include "memory.h"

namespace
{

struct Options {
    std::vector<Library> libraries;
    bool memory = false;
};

// Takes its own options; what is left over, Google Benchmark does not know either.
bool parse(int argc, char** argv, Options* options)
{
    constexpr char kLibrary[] = "--library=";
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const size_t colon = argument.find(':');
        if (argument == "--memory") {
            options->memory = true;
        } else if (argument.rfind(kLibrary, 0) == 0 && colon != std::string::npos) {
            const size_t name = strlen(kLibrary);
            options->libraries.push_back(
                load_library(argument.substr(name, colon - name), argument.substr(colon + 1)));
        } else {
            fprintf(stderr, "ozr_bench: unknown option %s\n", argv[i]);
            return false;
        }
    }
    return true;
}

int print_memory(const std::vector<Library>& others)
{
    int result = 0;
    for (const SweepPlan& plan : {kScreenSweep, kPhotoSweep}) {
        result |= print_peak_memory(own_library(), plan);
        for (const Library& library : others)
            result |= print_peak_memory(library, plan);
    }
    return result;
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    Options options;
    if (!parse(argc, argv, &options))
        return 1;
    if (options.memory)
        return print_memory(options.libraries);
    add_kernel_benchmarks();
    add_picture_benchmarks();
    add_core_benchmarks();
    add_stage_benchmarks(options.libraries);
#ifdef OZR_BENCH_OPENCV
    add_opencv_kernel_benchmarks();
    add_opencv_stage_benchmarks();
#endif
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
