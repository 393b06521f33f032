// Owners of heap blocks: a buffer frees itself until release() hands it over to a record of the interface.
#ifndef OZR_BUFFER_H
#define OZR_BUFFER_H

#include <memory>

#include "ozr_memory.h"

namespace ozr
{

struct Free {
    void operator()(void* block) const { ozr_free(block); }
};

template <class T>
using Buffer = std::unique_ptr<T[], Free>;

// Zero-filled; null when memory is out or count elements do not fit 32-bit sizes.
template <class T>
Buffer<T> make_buffer(int64_t count)
{
    if (count < 0 || count > UINT32_MAX / static_cast<int64_t>(sizeof(T)))
        return nullptr;
    return Buffer<T>(static_cast<T*>(ozr_calloc(static_cast<uint32_t>(count), sizeof(T))));
}

// The same without the zeros, for blocks of which every element is written before it is read.
template <class T>
Buffer<T> make_unfilled_buffer(int64_t count)
{
    constexpr int64_t kSize = sizeof(T);
    if (count < 0 || count > UINT32_MAX / kSize)
        return nullptr;
    return Buffer<T>(static_cast<T*>(ozr_malloc(static_cast<uint32_t>(count * kSize))));
}

}  // namespace ozr

#endif
