// Prefetching: requests memory before it is used. The processor's own prefetching needs long runs of
// addresses; a loop that uses only a part of each row of a picture has none.
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

// The compiler drops calls to functions whose only effect is a prefetch, so these must be inlined,
// and so must functions that only call them.
#define OZR_PREFETCHING __attribute__((always_inline)) inline

// The distance in bytes from a row of a picture to the row `rows` further down. Distances are unsigned
// and wrap around: a row above has a negative one, and one that leads out of the picture may exceed
// the signed range.
OZR_PREFETCHING uintptr_t rows_on(ptrdiff_t rows, ptrdiff_t stride)
{
    return static_cast<uintptr_t>(rows) * static_cast<uintptr_t>(stride);
}

// Requests the cache line `distance` bytes from `origin`. The address may be outside the picture, and
// need not be mapped: a prefetch is a hint, which reads nothing and cannot fault.
OZR_PREFETCHING void prefetch(const void* origin, uintptr_t distance)
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(origin) + distance;
    __builtin_prefetch(reinterpret_cast<const void*>(address));  // NOLINT(performance-no-int-to-ptr)
}

// Requests the cache lines of `bytes` bytes, `distance` bytes from `origin`.
OZR_PREFETCHING void prefetch_bytes(const void* origin, uintptr_t distance, ptrdiff_t bytes)
{
    for (ptrdiff_t line = 0; line < bytes; line += kCacheLine)
        prefetch(origin, distance + static_cast<uintptr_t>(line));
}

}  // namespace

}  // namespace ozr

#endif
