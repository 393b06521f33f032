#ifndef MEMORY_H
#define MEMORY_H

#include "library.h"
#include "sweep_pictures.h"

// Prints how far one sweep raises the peak of resident memory above what the process has before,
// the caller's picture included in the latter. The pictures come through a pipe, one at a time,
// from a process that paints them.
// Returns 0, or 1 where a call failed.
int print_peak_memory(const Library& library, ozr_panorama_quality quality, const SweepPlan& plan);

#endif
