// One kernel of every level's table, by the name of its stage and its own.
#ifndef OZR_TEST_KERNEL_ENTRY_H
#define OZR_TEST_KERNEL_ENTRY_H

#include "kernels/kernels.h"

template <class Stage, class Function>
struct KernelEntry {
    const char* name;
    Stage ozr::kernels::Kernels::*stage;
    Function Stage::*entry;

    Function of(const ozr::kernels::Kernels& level) const { return level.*stage.*entry; }
};

template <class Stage, class Function>
KernelEntry(const char*, Stage ozr::kernels::Kernels::*, Function Stage::*) -> KernelEntry<Stage, Function>;

#define KERNEL(stage, entry)                                                                                 \
    KernelEntry                                                                                              \
    {                                                                                                        \
#stage "." #entry, &ozr::kernels::Kernels::stage, &decltype(ozr::kernels::Kernels::stage)::entry     \
    }

#endif
