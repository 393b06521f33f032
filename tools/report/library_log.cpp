// Log hooks. They belong to the whole process, as the library's do, and so does what they note.
#include "report/library_log.h"

#include <chrono>
#include <new>
#include <stdio.h>
#include <string.h>

namespace ozr_pano
{

namespace
{

constexpr size_t kMaxKeptLines = 5000;

bool g_verbose = false;
bool g_keep = false;
KeptLog g_kept;
std::chrono::steady_clock::time_point g_begin;

void _keep(char level, const char* text)
{
    if (!g_keep)
        return;
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - g_begin;
    try {
        if (g_kept.lines.size() < kMaxKeptLines)
            g_kept.lines.push_back({level, text, time.count()});
        else
            ++g_kept.left_out;
    } catch (const std::bad_alloc&) {  // the library's functions above know no exceptions
        ++g_kept.left_out;
    }
}

__attribute__((format(printf, 2, 0))) void _log(char level, const char* format, va_list args)
{
    char line[1024];
    vsnprintf(line, sizeof(line), format, args);
    line[strcspn(line, "\n")] = '\0';
    _keep(level, line);
    if (g_verbose)
        fprintf(stderr, "%c] %s\n", level, line);
}

__attribute__((format(printf, 1, 0))) void _log_debug(const char* format, va_list args)
{
    _log('D', format, args);
}

__attribute__((format(printf, 1, 0))) void _log_error(const char* format, va_list args)
{
    _log('E', format, args);
}

__attribute__((format(printf, 1, 0))) void _log_warning(const char* format, va_list args)
{
    _log('W', format, args);
}

__attribute__((format(printf, 1, 0))) void _log_info(const char* format, va_list args)
{
    _log('I', format, args);
}

}  // namespace

void set_log_hooks(ozr_config* config, bool verbose, bool keep)
{
    g_verbose = verbose;
    g_keep = keep;
    if (g_begin == std::chrono::steady_clock::time_point())
        g_begin = std::chrono::steady_clock::now();
    config->log_debug = _log_debug;
    config->log_error = _log_error;
    config->log_warning = _log_warning;
    config->log_info = _log_info;
}

const KeptLog& kept_log()
{
    return g_kept;
}

}  // namespace ozr_pano
