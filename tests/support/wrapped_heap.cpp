#include "wrapped_heap.h"

#include <atomic>
#include <cstddef>

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);
void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_realloc(void* block, size_t size);
void __wrap_free(void* block);
}

namespace
{

std::atomic<bool> g_counting;
std::atomic<int64_t> g_failing, g_allocations, g_live;
void (*g_watch)(int64_t allocation);

bool refuse()
{
    if (!g_counting)
        return false;
    const int64_t allocation = ++g_allocations;
    if (g_watch != nullptr)
        g_watch(allocation);
    return allocation == g_failing;
}

void* counted(void* block)
{
    g_live += block != nullptr ? 1 : 0;
    return block;
}

}  // namespace

void* __wrap_malloc(size_t size)
{
    return refuse() ? nullptr : counted(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size)
{
    return refuse() ? nullptr : counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, size_t size)
{
    if (refuse())
        return nullptr;
    void* moved = __real_realloc(block, size);
    g_live += block == nullptr && moved != nullptr ? 1 : 0;
    return moved;
}

void __wrap_free(void* block)
{
    g_live -= block != nullptr ? 1 : 0;
    __real_free(block);
}

WrappedHeap::WrappedHeap(int64_t failing, void (*watch)(int64_t allocation))
{
    g_watch = watch;
    g_failing = failing;
    g_allocations = 0;
    g_live = 0;
    g_counting = true;
}

WrappedHeap::~WrappedHeap()
{
    g_counting = false;
}

void WrappedHeap::stop_failing()
{
    g_failing = 0;
}

int64_t WrappedHeap::allocations() const
{
    return g_allocations;
}

int64_t WrappedHeap::live_blocks() const
{
    return g_live;
}
