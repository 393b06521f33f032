/**
 * @file
 * Allocation with 32-bit sizes, plain and aligned, and bounded copies.
 *
 * @code
 * uint8_t* page = (uint8_t*)ozr_malloc_aligned(4096, 4096);
 * if (page != NULL) {
 *     ozr_strncpy_s((char*)page, 4096, "a page of memory", 17);
 *     ozr_free_aligned(page);
 * }
 * @endcode
 */
#ifndef OZR_MEMORY_H
#define OZR_MEMORY_H

#include "ozr_types.h"

OZR_BEGIN_DECLS

/**
 * @name Memory
 * The allocators of the C library under the library's names, with 32-bit sizes. Nothing is logged.
 * Blocks of ozr_malloc, ozr_realloc and ozr_calloc go back through ozr_free.
 */
/**@{*/
/** Allocates. @param size  bytes. @return the block, uninitialised, or null. */
OZR_API void* ozr_malloc(uint32_t size);

/**
 * Changes a block's size.
 * @param ptr  the block or null.
 * @param size  bytes.
 * @return the block, maybe moved, or null.
 */
OZR_API void* ozr_realloc(void* ptr, uint32_t size);

/**
 * Allocates zeros.
 * @param count, size  number and bytes of the elements.
 * @return the block, or null.
 */
OZR_API void* ozr_calloc(uint32_t count, uint32_t size);

/** Releases a block. @param ptr  the block or null. */
OZR_API void ozr_free(void* ptr);
/**@}*/

/**
 * Allocates a block at an aligned address.
 *
 * Costs alignment + 2 bytes: the two bytes before the block hold its distance from the start of
 * the underlying one.
 * @param size       bytes. size + alignment + 2 is computed in 32 bits and may wrap.
 * @param alignment  a power of two, at most 32768.
 * @return the block, uninitialised, to be released with ozr_free_aligned; null when memory is out
 *         or the wrapped request is too small to hold the header.
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
 * @param ptr  the block; null is ignored. What neither of the two made cannot be detected.
 */
OZR_API void ozr_free_aligned(void* ptr);

/**
 * Copies at most as many bytes as the destination holds.
 *
 * @param dst, dst_size  destination and its size in bytes.
 * @param src, count     source and the bytes wanted; a larger count than dst_size is cut silently.
 *                       Nothing is copied when a pointer is null.
 * @return dst.
 */
OZR_API void* ozr_memcpy_s(void* dst, uint32_t dst_size, const void* src, uint32_t count);

/**
 * strncpy of at most as many characters as the destination holds.
 *
 * The destination is not terminated when `src` is at least as long as the smaller of the two sizes.
 * @param dst, dst_size  destination and its size.
 * @param src, count     source and the most characters wanted. Nothing is copied when a
 *                       pointer is null.
 * @return dst.
 */
OZR_API char* ozr_strncpy_s(char* dst, uint32_t dst_size, const char* src, uint32_t count);

OZR_END_DECLS

#endif
