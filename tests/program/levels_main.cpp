// usage: ozr-pano-levels LEVEL COMMAND...
// The program with the library's objects inside, so that the level of its kernels can be chosen:
// scripts/compare-builds compares the panoramas of all levels.
#include <cstdio>
#include <cstring>

#include "cli/command_line.h"
#include "kernels/cpu.h"
#include "kernels/kernels.h"

using namespace ozr::kernels;

int main(int argc, char** argv)
{
    for (const Kernels* const* level = kLevels; argc > 1 && *level != nullptr; ++level) {
        const bool runs_here = ((*level)->features & ~cpu_features()) == 0;
        if (strcmp((*level)->level, argv[1]) == 0 && runs_here) {
            set_for_test(*level);
            argv[1] = argv[0];
            return ozr_pano::run_command_line(argc - 1, argv + 1);
        }
    }
    fprintf(stderr, "usage: ozr-pano-levels LEVEL COMMAND..., with a level of this machine\n");
    return 2;
}
