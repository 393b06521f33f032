#include "levels.h"

#include "kernels/cpu.h"

std::vector<const OzrKernels*> bench_levels()
{
    std::vector<const OzrKernels*> levels;
    for (const OzrKernels* const* level = kOzrKernelLevels; *level != nullptr; ++level) {
        if (((*level)->features & ~ozr_cpu_features()) == 0)
            levels.push_back(*level);
    }
    return levels;
}

std::vector<const OzrKernels*> bench_stage_levels()
{
    std::vector<const OzrKernels*> levels = {&kOzrKernelsScalar};
    const uint32_t features = ozr_cpu_features();
    for (const uint32_t offered : {features & (kOzrCpuSse2 | kOzrCpuSsse3), features}) {
        if (ozr_kernels_for(offered) != levels.back())
            levels.push_back(ozr_kernels_for(offered));
    }
    return levels;
}
