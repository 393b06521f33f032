#include "image/panorama_util.h"

#include <string.h>
#include <unistd.h>

#include "ozr_log.h"
#include "ozr_memory.h"
#include "ozr_platform.h"

namespace
{

constexpr uint32_t kMessageSize = 1024;
constexpr uint32_t kPage = 4096;
constexpr uint64_t kSlack = 2 * kPage;  // of an aligned block, before its pages begin

void* _align(void* block, void** raw)
{
    if (raw != nullptr)
        *raw = block;
    const uintptr_t end_of_slack = reinterpret_cast<uintptr_t>(block) + kSlack;
    // Computed as an address, not by moving a pointer, which would be undefined for a null block.
    const uintptr_t page = end_of_slack & ~uintptr_t{kPage - 1};
    return reinterpret_cast<void*>(page);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

void PanoLog(const char* tag, int32_t line, const char* format, ...)
{
    char message[kMessageSize];
    va_list args;
    va_start(args, format);
    ozr_platform_vsnprintf(message, kMessageSize, format, args);
    va_end(args);
    if (tag != nullptr)
        ozr_log_debug("[%s:%d] %s\n", tag, line, message);
    else
        ozr_log_debug("%s\n", message);
}

clock_t PanoClock(void)
{
    return clock();
}

void PanoSleep(uint32_t ms)
{
    usleep(ms * 1000);
}

void* PanoMalloc(uint32_t size)
{
    return ozr_malloc(size);
}

void* PanoCalloc(uint32_t count, uint32_t size)
{
    return ozr_calloc(count, size);
}

void PanoFree(void* block)
{
    ozr_free(block);
}

void* PanoMemset(void* block, int32_t value, uint32_t size)
{
    return block != nullptr ? memset(block, value, size) : nullptr;
}

void* PanoMemcpy(void* dst, const void* src, uint32_t size)
{
    return ozr_memcpy_s(dst, size, src, size);
}

void* AlignedCalloc(uint32_t count, uint32_t size, void** raw)
{
    const uint64_t request = uint64_t{count} * size + kSlack;
    return _align(request <= UINT32_MAX ? PanoCalloc(1, static_cast<uint32_t>(request)) : nullptr, raw);
}

void* ozr::pano_aligned_malloc(uint32_t size, void** raw)
{
    const uint64_t request = size + kSlack;
    return _align(request <= UINT32_MAX ? PanoMalloc(static_cast<uint32_t>(request)) : nullptr, raw);
}
