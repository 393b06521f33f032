// Result code names, the allocators and version matching.
#include <stdlib.h>
#include <string.h>

#include "ozr_memory.h"
#include "ozr_types.h"
#include "ozr_version.h"
#include "support/large_pages.h"

using namespace ozr;

namespace
{

// The bytes just before an aligned block: its distance from the underlying block, less these two bytes.
constexpr uint32_t kHeaderSize = 2;

// Places the aligned block inside `raw`, a block of `request` bytes, and writes its header. Returns null and frees `raw`
// when the request wrapped around and is therefore too small.
void* _align(void* raw, uint64_t request, uint32_t alignment)
{
    if (raw == nullptr)
        return nullptr;
    const uintptr_t start = reinterpret_cast<uintptr_t>(raw);
    const uintptr_t excess = (start + alignment + kHeaderSize) & (alignment - 1U);
    const uintptr_t distance = alignment - excess;
    if (distance > UINT16_MAX || distance + kHeaderSize > request) {
        free(raw);
        return nullptr;
    }
    uint8_t* block = static_cast<uint8_t*>(raw) + distance + kHeaderSize;
    const uint16_t header = static_cast<uint16_t>(distance);
    memcpy(block - kHeaderSize, &header, kHeaderSize);
    return block;
}

}  // namespace

const char* ozr_err_to_string(ozr_err code)
{
    switch (code) {
    case ozr_success:
        return "ozr_success";
    case ozr_err_general:
        return "ozr_err_general";
    case ozr_err_not_supported:
        return "ozr_err_not_supported";
    case ozr_err_invalid_argument:
        return "ozr_err_invalid_argument";
    case ozr_err_out_of_bound:
        return "ozr_err_out_of_bound";
    case ozr_err_interrupted:
        return "ozr_err_interrupted";
    case ozr_err_invalid_status:
        return "ozr_err_invalid_status";
    case ozr_err_nomem:
        return "ozr_err_nomem";
    case ozr_err_database_full:
        return "ozr_err_database_full";
    default:
        return "ozr_err_unknown";
    }
}

void* ozr_malloc(uint32_t size)
{
    return prefer_large_pages(malloc(size), size);
}

void* ozr_realloc(void* ptr, uint32_t size)
{
    return realloc(ptr, size);
}

void* ozr_calloc(uint32_t count, uint32_t size)
{
    return prefer_large_pages(calloc(count, size), uint64_t{count} * size);
}

void ozr_free(void* ptr)
{
    free(ptr);
}

void* ozr_malloc_aligned(uint32_t size, uint32_t alignment)
{
    const uint32_t request = size + alignment + kHeaderSize;
    return _align(ozr_malloc(request), request, alignment);
}

void* ozr_calloc_aligned(uint32_t count, uint32_t size, uint32_t alignment)
{
    // Kept: the overhead is added to every element, not once to the block, so a caller's block is larger than needed.
    const uint32_t element = size + alignment + kHeaderSize;
    return _align(ozr_calloc(count, element), uint64_t{count} * element, alignment);
}

void ozr_free_aligned(void* ptr)
{
    if (ptr == nullptr)
        return;
    uint16_t distance = 0;
    memcpy(&distance, static_cast<uint8_t*>(ptr) - kHeaderSize, kHeaderSize);
    free(static_cast<uint8_t*>(ptr) - distance - kHeaderSize);
}

int32_t ozr_version_compare(const ozr_version* a, const ozr_version* b)
{
    if (a == nullptr || b == nullptr)
        return ozr_err_invalid_argument;
    if (a->major != b->major)
        return a->major > b->major ? 1 : -1;
    if (a->minor != b->minor)
        return a->minor > b->minor ? 1 : -1;
    return 0;
}

int32_t ozr_version_is_matching(const ozr_version* a, const ozr_version* b)
{
    return ozr_version_compare(a, b) == 0 && a->patch == b->patch ? 1 : 0;
}

const ozr_version_variety_entry* ozr_version_variety_get_matching(const ozr_version* wanted,
                                                                  const ozr_version_variety_entry* entries,
                                                                  int32_t count)
{
    if (wanted == nullptr || entries == nullptr)
        return nullptr;
    for (int32_t i = 0; i < count; ++i) {
        if (ozr_version_is_matching(wanted, entries[i].version) != 0)
            return &entries[i];
    }
    return nullptr;
}

const ozr_version_variety_entry* ozr_version_variety_get_latest(const ozr_version_variety_entry* entries,
                                                                int32_t count)
{
    if (entries == nullptr || count < 1)
        return nullptr;
    const ozr_version_variety_entry* latest = &entries[0];
    for (int32_t i = 1; i < count; ++i) {
        const bool has_version = entries[i].version != nullptr;
        if (has_version && ozr_version_compare(latest->version, entries[i].version) < 0)
            latest = &entries[i];
    }
    return latest;
}

const ozr_version_variety_entry*
ozr_version_variety_get_matching_or_latest(const ozr_version* wanted,
                                           const ozr_version_variety_entry* entries, int32_t count)
{
    const ozr_version_variety_entry* matching = ozr_version_variety_get_matching(wanted, entries, count);
    return matching != nullptr ? matching : ozr_version_variety_get_latest(entries, count);
}
