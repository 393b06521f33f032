/**
 * @file
 * Services of the operating system under the library's names: properties, time, formatted
 * text, shared objects.
 */
#ifndef OZR_PLATFORM_H
#define OZR_PLATFORM_H

#include <time.h>

#include "ozr_types.h"

OZR_BEGIN_DECLS

/**
 * Reads an Android system property.
 *
 * @param name   property name.
 * @param value  out: its text; room for 92 characters (PROP_VALUE_MAX).
 * @return length of the text. Outside Android the text is empty and the length 0.
 */
OZR_API int32_t ozr_android_property_get(const char* name, char* value);

/** The C library's time(). @param t  out: the same value, or null. @return seconds since 1970. */
OZR_API time_t ozr_time(time_t* t);

/** Sleeps. @param ms  milliseconds. */
OZR_API void ozr_platform_sleep(uint32_t ms);

/**
 * The C library's vsnprintf over the variadic arguments.
 *
 * @param buffer, size  out: the text, and its room in bytes.
 * @param format        printf-style format.
 * @return the length of the whole text.
 */
OZR_API int32_t ozr_platform_snprintf(char* buffer, uint32_t size, const char* format, ...) OZR_PRINTF(3, 4);

/**
 * The C library's vsnprintf.
 *
 * @param buffer, size   out: the text, and its room in bytes.
 * @param format, args   printf-style format and its arguments.
 * @return the length of the whole text.
 */
OZR_API int32_t ozr_platform_vsnprintf(char* buffer, uint32_t size, const char* format, va_list args)
    OZR_PRINTF(3, 0);

/**
 * Opens a shared object with dlopen(name, RTLD_LAZY).
 * @param name  path or name.
 * @return its handle, or null.
 */
OZR_API void* ozr_platform_dlopen(const char* name);

/**
 * Looks a symbol up; a pending dlerror text is dropped.
 * @param handle, symbol  where and what.
 * @return it, or null.
 */
OZR_API void* ozr_platform_dlsym(void* handle, const char* symbol);

/** Closes a shared object. @param handle  of ozr_platform_dlopen; null is ignored. */
OZR_API void ozr_platform_dlclose(void* handle);

OZR_END_DECLS

#endif
