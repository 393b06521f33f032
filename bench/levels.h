// What the benchmarks compare: the tables of kernels that this machine can run.
#ifndef LEVELS_H
#define LEVELS_H

#include <vector>

#include "kernels/kernels.h"

// Lowest level first.
std::vector<const ozr::kernels::Kernels*> bench_levels();

// The levels at which whole stages are timed: scalar, that of every Android x86 device, and the machine's best.
std::vector<const ozr::kernels::Kernels*> bench_stage_levels();

#endif
