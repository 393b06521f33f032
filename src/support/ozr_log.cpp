// The logger. One line buffer on the stack per call, no heap, no lock: the flag and the hooks are plain words that
// the application sets before other threads log.
#include "ozr_log.h"

#include <string.h>

#include "ozr_platform.h"

int32_t ozr_log_enabled = 1;

namespace
{

constexpr uint32_t kLineSize = 1024;
constexpr uint32_t kPrefixSize = 3;

struct Level {
    const char* prefix;
    void (*sink)(const char* line);
};

constexpr Level kError = {"E] ", ozr_platform_log_error};
constexpr Level kWarning = {"W] ", ozr_platform_log_warning};
constexpr Level kInfo = {"I] ", ozr_platform_log_info};
constexpr Level kDebug = {"D] ", ozr_platform_log_debug};

ozr_log_hook g_error_hook;
ozr_log_hook g_warning_hook;
ozr_log_hook g_info_hook;
ozr_log_hook g_debug_hook;

// The prefix is written before the flag is read; nothing is formatted while logging is off.
void _log(const Level& level, ozr_log_hook hook, const char* format, va_list args)
{
    char line[kLineSize] = {};
    memcpy(line, level.prefix, kPrefixSize);
    if (ozr_log_enabled == 0 || format == nullptr)
        return;
    if (hook != nullptr) {
        hook(format, args);
        return;
    }
    ozr_platform_vsnprintf(line + kPrefixSize, kLineSize - kPrefixSize, format, args);
    level.sink(line);
}

}  // namespace

void ozr_log_enable(void)
{
    ozr_log_enabled = 1;
}

void ozr_log_disable(void)
{
    ozr_log_enabled = 0;
}

void ozr_log_error(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    _log(kError, g_error_hook, format, args);
    va_end(args);
}

void ozr_log_warning(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    _log(kWarning, g_warning_hook, format, args);
    va_end(args);
}

void ozr_log_info(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    _log(kInfo, g_info_hook, format, args);
    va_end(args);
}

void ozr_log_debug(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    _log(kDebug, g_debug_hook, format, args);
    va_end(args);
}

void ozr_log_set_external_error(ozr_log_hook hook)
{
    g_error_hook = hook;
}

void ozr_log_set_external_warning(ozr_log_hook hook)
{
    g_warning_hook = hook;
}

void ozr_log_set_external_info(ozr_log_hook hook)
{
    g_info_hook = hook;
}

void ozr_log_set_external_debug(ozr_log_hook hook)
{
    g_debug_hook = hook;
}

ozr_err ozr_log_set_externals_from_config(const ozr_config* config)
{
    if (config == nullptr)
        return ozr_err_invalid_argument;
    if (config->log_debug != nullptr)
        ozr_log_set_external_debug(config->log_debug);
    if (config->log_error != nullptr)
        ozr_log_set_external_error(config->log_error);
    if (config->log_info != nullptr)
        ozr_log_set_external_info(config->log_info);
    if (config->log_warning != nullptr)
        ozr_log_set_external_warning(config->log_warning);
    return ozr_success;
}

void ozr_log_dump(int32_t id, const uint8_t* data, int32_t size)
{
    if (ozr_log_enabled == 0)
        return;
    char filename[1024];
    ozr_platform_snprintf(filename, sizeof(filename), "%d-%d.raw", id, size);
    ozr_platform_log_dump(filename, data, size);
}

void ozr_log_print_library_information(void) {}
