// The C allocators as the library sees them: one allocation can be made to fail, and live blocks are counted.
#ifndef WRAPPED_HEAP_H
#define WRAPPED_HEAP_H

#include <cstdint>

// Counts from its construction on; lets allocation `failing` (from 1; 0: none) fail, and those after it succeed. Tells
// `watch` the number of each allocation before it is made.
class WrappedHeap
{
public:
    explicit WrappedHeap(int64_t failing = 0, void (*watch)(int64_t allocation) = nullptr);
    ~WrappedHeap();
    WrappedHeap(const WrappedHeap&) = delete;
    WrappedHeap& operator=(const WrappedHeap&) = delete;

    void stop_failing();
    int64_t allocations() const;  // tried so far
    int64_t live_blocks() const;  // allocated minus freed
};

#endif
