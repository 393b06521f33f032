// Asking for memory ahead of its use, where the processor's own prefetching does not keep up: rows of a picture that are
// used in part only are too short for it.
#ifndef OZR_PREFETCH_H
#define OZR_PREFETCH_H

#include <stddef.h>
#include <stdint.h>

namespace ozr
{

// Unnamed: each file that includes this has a copy of its own, compiled for its own instruction set.
namespace
{

constexpr ptrdiff_t kCacheLine = 64;

// To the compiler a function that only asks for memory does nothing, and it leaves out calls of such: they are to be
// inlined, and so are functions that do no more than call them.
#define OZR_PREFETCHING __attribute__((always_inline)) inline

// From a row of a picture to the one so many rows on. Unsigned, as the ways below: they may lead out of the picture, and of
// what signed numbers count, and wrap around for rows that come before.
OZR_PREFETCHING uintptr_t rows_on(ptrdiff_t rows, ptrdiff_t stride)
{
    return static_cast<uintptr_t>(rows) * static_cast<uintptr_t>(stride);
}

// The cache line some way from a place. Beside the picture that may be anybody's memory, or nobody's: a hint reads nothing
// and cannot fault.
OZR_PREFETCHING void prefetch(const void* place, uintptr_t way)
{
    const uintptr_t there = reinterpret_cast<uintptr_t>(place) + way;
    __builtin_prefetch(reinterpret_cast<const void*>(there));  // NOLINT(performance-no-int-to-ptr)
}

// The cache lines of `bytes` bytes some way from a place.
OZR_PREFETCHING void prefetch_bytes(const void* place, uintptr_t way, ptrdiff_t bytes)
{
    for (ptrdiff_t line = 0; line < bytes; line += kCacheLine)
        prefetch(place, way + static_cast<uintptr_t>(line));
}

}  // namespace

}  // namespace ozr

#endif
