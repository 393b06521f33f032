// Log hooks. They belong to the whole process, as the library's do, and so does what they note.
#include "library_log.h"

#include <stdio.h>
#include <string.h>

namespace
{

constexpr char kLeftOutText[] = "Actual # of image in synthesis is ";

bool g_verbose = false;
int g_pictures_used = -1;  // -1: nothing was said

void _note_left_out(const char* line)
{
    const char* text = strstr(line, kLeftOutText);
    if (text != nullptr)
        sscanf(text + strlen(kLeftOutText), "%d", &g_pictures_used);
}

__attribute__((format(printf, 2, 0))) void _log(char level, const char* format, va_list args)
{
    char line[1024];
    vsnprintf(line, sizeof(line), format, args);
    _note_left_out(line);
    if (!g_verbose)
        return;
    line[strcspn(line, "\n")] = '\0';
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

void set_log_hooks(ozr_config* config, bool verbose)
{
    g_verbose = verbose;
    g_pictures_used = -1;
    config->log_debug = _log_debug;
    config->log_error = _log_error;
    config->log_warning = _log_warning;
    config->log_info = _log_info;
}

int pictures_used_by_log(int given)
{
    return g_pictures_used < 0 ? given : g_pictures_used;
}
