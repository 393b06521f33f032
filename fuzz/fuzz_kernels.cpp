// The library's objects are inside these fuzzers, so that an input can choose among
// the kernels of this machine.
#include "fuzz_process.h"
#include "kernels/cpu.h"
#include "kernels/kernels.h"

void fuzz_choose_kernels(FuzzInput* input)
{
    static const uint32_t features = ozr::kernels::cpu_features();
    int32_t levels = 0;
    while (ozr::kernels::kLevels[levels] != nullptr &&
           (ozr::kernels::kLevels[levels]->features & ~features) == 0)
        ++levels;
    ozr::kernels::set_for_test(ozr::kernels::kLevels[input->between(0, levels - 1)]);
}
