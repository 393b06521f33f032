// Logging, timing and memory for the engine and the core. Like the functions of the C library that they call, these
// functions cannot check blocks and sizes.
#ifndef PANORAMA_UTIL_H
#define PANORAMA_UTIL_H

#include <stdint.h>
#include <time.h>

#include "ozr_types.h"

OZR_BEGIN_DECLS

// Logs "[tag:line] message" with a line feed at debug level, without the bracket when the tag is null. The message is
// cut at 1023 characters.
OZR_API void PanoLog(const char* tag, int32_t line, const char* format, ...) OZR_PRINTF(3, 4);

// Processor time used, in clock ticks.
OZR_API clock_t PanoClock(void);

OZR_API void PanoSleep(uint32_t ms);

OZR_API void* PanoMalloc(uint32_t size);
OZR_API void* PanoCalloc(uint32_t count, uint32_t size);
OZR_API void PanoFree(void* block);
OZR_API void* PanoMemset(void* block, int32_t value, uint32_t size);
OZR_API void* PanoMemcpy(void* dst, const void* src, uint32_t size);

// Zero-filled memory at an address that is a multiple of 4096. The start of the block, to be freed, is stored in *raw
// unless `raw` is null. Kept: when memory is out, or the size does not fit 32 bits, the result is not null but the
// address 8192; callers see the failure by a null *raw only.
OZR_API void* AlignedCalloc(uint32_t count, uint32_t size, void** raw);

OZR_END_DECLS

namespace ozr
{

// The same without the zeros.
void* pano_aligned_malloc(uint32_t size, void** raw);

}  // namespace ozr

#endif
