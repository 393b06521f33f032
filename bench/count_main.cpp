// usage: ozr_count kernels|sweeps
// Runs every kernel, or whole sweeps, at every level of this machine between marks that
// count_plugin.c knows, and prints a line for each: what, level, pixels.
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "kernel_passes.h"
#include "levels.h"
#include "library.h"

namespace
{

template <class Run>
bool count(const std::string& what, const std::string& level, int64_t pixels, Run run)
{
    getppid();
    const bool fine = run();
    getppid();
    printf("%s %s %lld\n", what.c_str(), level.c_str(), static_cast<long long>(pixels));
    return fine;
}

int64_t pixels_of(Size size)
{
    return int64_t{size.width} * size.height;
}

bool count_kernels()
{
    for (const KernelPass& pass : kernel_passes(kScreenSize)) {
        pass.run();  // what is made at first use does not count
        count(pass.kernel, pass.level, pixels_of(pass.size), [&pass] {
            pass.run();
            return true;
        });
    }
    return true;
}

constexpr size_t kFrames = 10;

// A camera that trembles, so that no picture falls due.
bool detect(const Library& library, Size size)
{
    const Session session = create_session(library, ozr_panorama_quality_classic);
    ozr_image first = preview_frames(size)[0].image;
    bool fine = library.stitch_one_image(session.get(), &first, nullptr) == ozr_success;
    for (size_t i = 1; i <= kFrames; ++i) {
        ozr_point offset = {};
        ozr_panorama_direction direction = ozr_panorama_direction_auto;
        fine = fine && library.detect_frame_to_stitch(session.get(), &preview_frames(size)[i].image, &offset,
                                                      &direction) == ozr_success;
    }
    return fine;
}

bool sweep(const Library& library, ozr_panorama_quality quality)
{
    const Session session = create_session(library, quality);
    const ozr_point offset = {kScreenSweep.step(), 0};
    bool fine = session != nullptr;
    for (Nv12Picture& picture : sweep_pictures(kScreenSweep))
        fine = fine && library.stitch_one_image(session.get(), &picture.image, &offset) == ozr_success;
    ozr_image panorama = {};
    return fine && library.run(session.get(), &panorama) == ozr_success &&
           panorama.width > (kScreenSweep.pictures - 1) * kScreenSweep.step();
}

bool count_sweeps()
{
    const Library library = own_library();
    const int64_t pixels = kScreenSweep.pictures * pixels_of(kScreenSize);
    bool fine = sweep_pictures(kScreenSweep).size() > 1 && preview_frames(kPreviewSize).size() > kFrames;
    for (const ozr::kernels::Kernels* level : bench_levels()) {
        ozr::kernels::set_for_test(level);
        fine = count("preview_frames", level->level, int64_t{kFrames} * pixels_of(kPreviewSize),
                     [&] { return detect(library, kPreviewSize); }) &&
               fine;
        fine = count("sweep_classic", level->level, pixels,
                     [&] { return sweep(library, ozr_panorama_quality_classic); }) &&
               fine;
        fine = count("sweep_refined", level->level, pixels,
                     [&] { return sweep(library, ozr_panorama_quality_refined); }) &&
               fine;
    }
    return fine;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string what = argc == 2 ? argv[1] : "";
    if (what != "kernels" && what != "sweeps") {
        fprintf(stderr, "usage: ozr_count kernels|sweeps\n");
        return 2;
    }
    return (what == "kernels" ? count_kernels() : count_sweeps()) ? 0 : 1;
}
