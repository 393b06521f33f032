/**
 * @file
 * The support toolkit: memory, bounded copies, platform services, the profiler and version matching.
 *
 * @code
 * ozr_prof_set(3);
 * for (int i = 0; i < 100; ++i) {
 *     ozr_prof_go_label(3, "resize");
 *     resize(frame);
 *     ozr_prof_stop(3);
 * }
 * ozr_prof_print();   // calls, total, shortest, longest and mean time of slot 3, at info level
 * @endcode
 */
#ifndef OZR_SUPPORT_H
#define OZR_SUPPORT_H

#include <time.h>

#include "ozr_types.h"

OZR_BEGIN_DECLS

/**
 * @name Memory
 * The allocators of the C library under the library's names, with 32-bit sizes. Null when memory is out; nothing is
 * logged. Blocks of ozr_malloc, ozr_realloc and ozr_calloc go back through ozr_free.
 */
/**@{*/
OZR_API void* ozr_malloc(uint32_t size);
OZR_API void* ozr_realloc(void* ptr, uint32_t size);
OZR_API void* ozr_calloc(uint32_t count, uint32_t size);
OZR_API void ozr_free(void* ptr);
/**@}*/

/**
 * Allocates a block at an aligned address.
 *
 * Costs alignment + 2 bytes: the two bytes before the block hold its distance from the start of the underlying one.
 * @param size       bytes. size + alignment + 2 is computed in 32 bits and may wrap.
 * @param alignment  a power of two, at most 32768.
 * @return the block, uninitialised, to be released with ozr_free_aligned; null when memory is out or the wrapped
 *         request is too small to hold the header.
 */
OZR_API void* ozr_malloc_aligned(uint32_t size, uint32_t alignment);

/**
 * Allocates a zero-filled block at an aligned address.
 *
 * The overhead is added to the element size: count * (size + alignment + 2) bytes are requested.
 * @param count, size  number and bytes of the elements.
 * @param alignment    a power of two, at most 32768.
 * @return as ozr_malloc_aligned.
 */
OZR_API void* ozr_calloc_aligned(uint32_t count, uint32_t size, uint32_t alignment);

/**
 * Releases a block of ozr_malloc_aligned or ozr_calloc_aligned.
 *
 * @param ptr  the block; must not be null.
 */
OZR_API void ozr_free_aligned(void* ptr);

/**
 * Copies at most as many bytes as the destination holds.
 *
 * @param dst, dst_size  destination and its size in bytes.
 * @param src, count     source and the bytes wanted; a larger count than dst_size is cut silently.
 * @return dst.
 */
OZR_API void* ozr_memcpy_s(void* dst, uint32_t dst_size, const void* src, uint32_t count);

/**
 * strncpy of at most as many characters as the destination holds.
 *
 * The destination is not terminated when `src` is at least as long as the smaller of the two sizes.
 * @param dst, dst_size  destination and its size.
 * @param src, count     source and the most characters wanted.
 * @return dst.
 */
OZR_API char* ozr_strncpy_s(char* dst, uint32_t dst_size, const char* src, uint32_t count);

/**
 * Reads an Android system property.
 *
 * @param name   property name.
 * @param value  out: its text; room for 92 characters (PROP_VALUE_MAX).
 * @return length of the text. Outside Android the text is empty and the length 0.
 */
OZR_API int32_t ozr_android_property_get(const char* name, char* value);

/** The C library's time(). */
OZR_API time_t ozr_time(time_t* t);

/** Sleeps. @param ms  milliseconds. */
OZR_API void ozr_platform_sleep(uint32_t ms);

/** vsnprintf over the variadic arguments; returns its result. */
OZR_API int32_t ozr_platform_snprintf(char* buffer, uint32_t size, const char* format, ...) OZR_PRINTF(3, 4);

/** The C library's vsnprintf; returns its result. */
OZR_API int32_t ozr_platform_vsnprintf(char* buffer, uint32_t size, const char* format, va_list args)
    OZR_PRINTF(3, 0);

/** Opens a shared object with dlopen(name, RTLD_LAZY). @return its handle, or null. */
OZR_API void* ozr_platform_dlopen(const char* name);

/** Looks a symbol up; a pending dlerror text is dropped. @return the symbol, or null. */
OZR_API void* ozr_platform_dlsym(void* handle, const char* symbol);

/** Closes a shared object; a null handle is ignored. */
OZR_API void ozr_platform_dlclose(void* handle);

/**
 * @name Profiler
 * Wall-clock statistics in 1000 static slots, numbered from 0; nothing is allocated. A slot belongs to one thread at
 * a time. A slot number outside the table is ignored.
 */
/**@{*/
/** Clears a slot: numbers 0, label empty. */
OZR_API void ozr_prof_set(uint32_t slot);

/** Starts an interval. */
OZR_API void ozr_prof_go(uint32_t slot);

/** Labels a slot (299 characters are shown; null keeps the label), then starts an interval. */
OZR_API void ozr_prof_go_label(uint32_t slot, const char* label);

/** Ends an interval and adds it to the slot. @return how many intervals the slot has counted. */
OZR_API uint32_t ozr_prof_stop(uint32_t slot);

/** Logs every used slot at info level; times in milliseconds. @return 0. */
OZR_API int32_t ozr_prof_print(void);

/**
 * Hands the same report to a function of the caller's, also while logging is disabled.
 *
 * @param function  called once a line with the format and its arguments.
 * @return 0, or ozr_err_invalid_argument when function is null.
 */
OZR_API int32_t ozr_prof_print_logfunc(ozr_log_hook function);

/** Logs a label, the wall clock in milliseconds and a value at info level. */
OZR_API void ozr_prof_print_timestamp(const char* label, int32_t value);
/**@}*/

/** Something that has a version. */
typedef struct ozr_version_variety_entry {
    const ozr_version* version;
    void* owner; /**< the caller's; never read here */
} ozr_version_variety_entry;

/** Compares major, then minor; patch and revision do not count. @return 1, -1, or 0 when both are equal. */
OZR_API int32_t ozr_version_compare(const ozr_version* a, const ozr_version* b);

/** @return 1 when major, minor and patch are equal, else 0. */
OZR_API int32_t ozr_version_is_matching(const ozr_version* a, const ozr_version* b);

/**
 * Finds the first entry of a wanted version.
 *
 * @param wanted   version to match.
 * @param entries  count entries.
 * @return the entry, or null when there is none, a pointer is null or count is below 1.
 */
OZR_API const ozr_version_variety_entry*
ozr_version_variety_get_matching(const ozr_version* wanted, const ozr_version_variety_entry* entries,
                                 int32_t count);

/** Finds the entry of the greatest version by ozr_version_compare; of equal ones the first. @return it, or null. */
OZR_API const ozr_version_variety_entry*
ozr_version_variety_get_latest(const ozr_version_variety_entry* entries, int32_t count);

/** The matching entry if there is one, else the latest. @return it, or null. */
OZR_API const ozr_version_variety_entry*
ozr_version_variety_get_matching_or_latest(const ozr_version* wanted,
                                           const ozr_version_variety_entry* entries, int32_t count);

OZR_END_DECLS

#endif
