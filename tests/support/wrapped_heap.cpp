#include "wrapped_heap.h"

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

bool g_counting;
int64_t g_failing;
int64_t g_allocations;
int64_t g_live;

bool refuse()
{
    return g_counting && ++g_allocations == g_failing;
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

WrappedHeap::WrappedHeap(int64_t failing)
{
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
