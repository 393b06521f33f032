#include "levels.h"

#include "kernels/cpu.h"

std::vector<const ozr::kernels::Kernels*> bench_levels()
{
    std::vector<const ozr::kernels::Kernels*> levels;
    for (const ozr::kernels::Kernels* const* level = ozr::kernels::kLevels; *level != nullptr; ++level) {
        if (((*level)->features & ~ozr::kernels::cpu_features()) == 0)
            levels.push_back(*level);
    }
    return levels;
}

std::vector<const ozr::kernels::Kernels*> bench_stage_levels()
{
    std::vector<const ozr::kernels::Kernels*> levels = {&ozr::kernels::kScalarKernels};
    const uint32_t features = ozr::kernels::cpu_features();
    for (const uint32_t offered : {features & (ozr::kernels::kCpuSse2 | ozr::kernels::kCpuSsse3), features}) {
        if (ozr::kernels::best_for(offered) != levels.back())
            levels.push_back(ozr::kernels::best_for(offered));
    }
    return levels;
}
