#include "wrapped_heap.h"

#include <cstddef>

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);
}

namespace
{

bool refuse()
{
    if (!WrappedHeap::counting)
        return false;
    const int64_t allocation = ++WrappedHeap::tried;
    if (WrappedHeap::watch != nullptr)
        WrappedHeap::watch(allocation);
    return allocation == WrappedHeap::failing;
}

void* counted(void* block)
{
    WrappedHeap::live += block != nullptr ? 1 : 0;
    return block;
}

}  // namespace

extern "C" {

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
    WrappedHeap::live += block == nullptr && moved != nullptr ? 1 : 0;
    return moved;
}

void __wrap_free(void* block)
{
    WrappedHeap::live -= block != nullptr ? 1 : 0;
    __real_free(block);
}
}
