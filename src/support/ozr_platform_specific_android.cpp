// Everything that differs between platforms: the log sinks and system properties of Android with their replacements
// elsewhere, and thin wrappers of the system library.
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#ifdef __ANDROID__
#include <android/log.h>
#include <sys/system_properties.h>
#endif

#include "ozr_log.h"
#include "ozr_memory.h"
#include "ozr_platform.h"

namespace
{

constexpr char kLogTag[] = "OZR";

#ifdef __ANDROID__
constexpr int kPriorityError = ANDROID_LOG_ERROR;
constexpr int kPriorityWarning = ANDROID_LOG_WARN;
constexpr int kPriorityInfo = ANDROID_LOG_INFO;
constexpr int kPriorityDebug = ANDROID_LOG_DEBUG;

void _write_line(int priority, const char* line)
{
    __android_log_print(priority, kLogTag, "%s\n", line);
}
#else
constexpr int kPriorityError = 6;
constexpr int kPriorityWarning = 5;
constexpr int kPriorityInfo = 4;
constexpr int kPriorityDebug = 3;

// Every line has its level as a prefix, so standard error needs no priority.
void _write_line(int /*priority*/, const char* line)
{
    fprintf(stderr, "%s %s\n", kLogTag, line);
}
#endif

}  // namespace

void ozr_platform_log_error(const char* line)
{
    _write_line(kPriorityError, line);
}

void ozr_platform_log_warning(const char* line)
{
    _write_line(kPriorityWarning, line);
}

void ozr_platform_log_info(const char* line)
{
    _write_line(kPriorityInfo, line);
}

void ozr_platform_log_debug(const char* line)
{
    _write_line(kPriorityDebug, line);
}

void ozr_platform_log_dump(const char* filename, const uint8_t* data, int32_t size)
{
    if (filename == nullptr || size < 0 || (data == nullptr && size > 0))
        return;
    FILE* file = fopen(filename, "wb");
    if (file == nullptr)
        return;
    if (size > 0)
        fwrite(data, static_cast<size_t>(size), 1, file);
    fclose(file);
}

void* ozr_memcpy_s(void* dst, uint32_t dst_size, const void* src, uint32_t count)
{
    const uint32_t bytes = std::min(dst_size, count);
    if (bytes > 0 && dst != nullptr && src != nullptr)
        memmove(dst, src, bytes);
    return dst;
}

char* ozr_strncpy_s(char* dst, uint32_t dst_size, const char* src, uint32_t count)
{
    if (dst == nullptr || src == nullptr)
        return dst;
    return strncpy(dst, src, std::min(dst_size, count));
}

int32_t ozr_android_property_get(const char* name, char* value)
{
#ifdef __ANDROID__
    return __system_property_get(name, value);
#else
    static_cast<void>(name);
    if (value != nullptr)
        value[0] = '\0';
    return 0;
#endif
}

time_t ozr_time(time_t* t)
{
    return time(t);
}

void ozr_platform_sleep(uint32_t ms)
{
    usleep(ms * 1000);
}

int32_t ozr_platform_snprintf(char* buffer, uint32_t size, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int32_t length = vsnprintf(buffer, size, format, args);
    va_end(args);
    return length;
}

int32_t ozr_platform_vsnprintf(char* buffer, uint32_t size, const char* format, va_list args)
{
    return vsnprintf(buffer, size, format, args);
}

void* ozr_platform_dlopen(const char* name)
{
    return dlopen(name, RTLD_LAZY);
}

void* ozr_platform_dlsym(void* handle, const char* symbol)
{
    dlerror();
    void* address = dlsym(handle, symbol);
    dlerror();
    return address;
}

void ozr_platform_dlclose(void* handle)
{
    if (handle != nullptr)
        dlclose(handle);
}
