// A pass of each kernel over a picture, at every level that has a function of its own:
// what is timed, and counted.
#ifndef KERNEL_PASSES_H
#define KERNEL_PASSES_H

#include <functional>
#include <string>
#include <vector>

#include "sweep_pictures.h"

struct KernelPass {
    std::string kernel;  // <stage>.<entry>
    std::string level;
    Size size;                  // of the picture
    int64_t moved;              // bytes that a pass reads and writes
    std::function<void()> run;  // makes what it needs when it first runs
};

// Lowest level first, kernel by kernel.
std::vector<KernelPass> kernel_passes(Size size);

#endif
