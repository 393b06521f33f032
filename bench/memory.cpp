#include "memory.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace
{

// A line of the kernel's account of this process, in MB of 10^6 bytes.
double status_mb(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(field + ":", 0) == 0)
            return std::stod(line.substr(field.size() + 1)) * 1024 / 1e6;
    }
    return 0;
}

// The read end of a pipe that delivers the pictures' bytes.
FILE* start_camera(const SweepPlan& plan)
{
    int ends[2] = {};
    if (pipe(ends) != 0)
        return nullptr;
    if (fork() == 0) {
        const SweepCamera camera(plan.size, plan.pictures);
        Nv12Picture picture(plan.size);
        FILE* out = fdopen(ends[1], "w");
        for (int32_t i = 0; i < plan.pictures; ++i) {
            camera.take(i, &picture.image);
            fwrite(picture.image.data, 1, static_cast<size_t>(picture.image.size), out);
        }
        fclose(out);
        _exit(0);
    }
    close(ends[1]);
    return fdopen(ends[0], "r");
}

bool sweep(const Library& library, ozr_panorama_quality quality, const SweepPlan& plan)
{
    FILE* camera = start_camera(plan);
    if (camera == nullptr)
        return false;
    Nv12Picture picture(plan.size);
    const double before = status_mb("VmRSS");
    const Session session = create_session(library, quality);
    const ozr_point offset = {plan.step(), 0};
    const auto bytes = static_cast<size_t>(picture.image.size);
    for (int32_t i = 0; i < plan.pictures; ++i) {
        if (fread(picture.image.data, 1, bytes, camera) != bytes ||
            library.stitch_one_image(session.get(), &picture.image, &offset) != ozr_success)
            return false;
    }
    ozr_image panorama = {};
    if (library.run(session.get(), &panorama) != ozr_success)
        return false;
    printf("%s, %s, %s: peak memory of the library %.0f MB\n", plan.text().c_str(), library.name.c_str(),
           quality == ozr_panorama_quality_classic ? "classic" : "refined", status_mb("VmHWM") - before);
    return true;
}

}  // namespace

int print_peak_memory(const Library& library, ozr_panorama_quality quality, const SweepPlan& plan)
{
    // A peak cannot be lowered, so each sweep has a process of its own.
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const bool fine = sweep(library, quality, plan);
        fflush(stdout);
        _exit(fine ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
}
