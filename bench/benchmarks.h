// The groups of benchmarks, and what they share. A benchmark's name is
// <group>/<what>/<size>/<level>, which is how scripts/bench finds what to compare.
#ifndef BENCHMARKS_H
#define BENCHMARKS_H

#include <benchmark/benchmark.h>

#include <vector>

#include "library.h"

void add_kernel_benchmarks();
void add_picture_benchmarks();
void add_core_benchmarks();
void add_opencv_kernel_benchmarks();
void add_opencv_stage_benchmarks();

// The stages that the public interface reaches, of this library at each level and of `others` as
// they choose.
void add_stage_benchmarks(const std::vector<Library>& others);

// Adds memcpy of as many bytes, to compare a benchmark with that moves twice as many; once for each
// number.
void add_memcpy(int64_t bytes);

// Ends a benchmark with an error, and the program that reads the results with it.
inline void fail_unless(benchmark::State& state, bool fine)
{
    if (!fine)
        state.SkipWithError("a call failed");
}

#endif
