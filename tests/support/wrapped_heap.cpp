#include "wrapped_heap.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

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

// New memory is anything but zero; of the largest blocks only the beginning, so that
// no machine has to hold them.
void* __wrap_malloc(size_t size)
{
    void* const block = refuse() ? nullptr : counted(__real_malloc(size));
    return block != nullptr ? memset(block, 0xAA, std::min(size, size_t{1} << 20)) : nullptr;
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
