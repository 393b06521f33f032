// The C allocators as the library sees them: one allocation can be made to fail,
// and live blocks are counted.
#ifndef WRAPPED_HEAP_H
#define WRAPPED_HEAP_H

#include <atomic>
#include <cstdint>

// Counts from its construction on; only allocation `failing_one` (from 1; 0: none) fails. Calls
// `told` with the number of each allocation before it is made.
class WrappedHeap
{
public:
    explicit WrappedHeap(int64_t failing_one = 0, void (*told)(int64_t allocation) = nullptr)
    {
        watch = told;
        failing = failing_one;
        tried = live = 0;
        counting = true;
    }
    ~WrappedHeap() { counting = false; }
    WrappedHeap(const WrappedHeap&) = delete;
    WrappedHeap& operator=(const WrappedHeap&) = delete;

    int64_t allocations() const { return tried; }  // so far
    int64_t live_blocks() const { return live; }   // allocated minus freed

    // Shared by all heaps, because there is one set of allocators.
    static inline std::atomic<bool> counting;
    static inline std::atomic<int64_t> failing, tried, live;
    static inline void (*watch)(int64_t allocation);
};

#endif
