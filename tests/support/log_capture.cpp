#include "log_capture.h"

#include <cstdio>

#include "ozr_log.h"

namespace
{

std::vector<std::string> g_errors;
std::vector<std::string> g_debug;

std::string formatted(const char* format, va_list args)
{
    char line[2048];
    vsnprintf(line, sizeof(line), format, args);
    return line;
}

void on_error(const char* format, va_list args)
{
    g_errors.push_back(formatted(format, args));
}

void on_debug(const char* format, va_list args)
{
    g_debug.push_back(formatted(format, args));
}

}  // namespace

LogCapture::LogCapture()
{
    g_errors.clear();
    g_debug.clear();
    ozr_log_set_external_error(on_error);
    ozr_log_set_external_debug(on_debug);
}

LogCapture::~LogCapture()
{
    ozr_log_set_external_error(nullptr);
    ozr_log_set_external_debug(nullptr);
}

// From "OZR_EXCEPTION(code) text @ function():line".
std::vector<std::string> LogCapture::chain() const
{
    constexpr size_t kHead = sizeof("OZR_EXCEPTION(") - 1;
    std::vector<std::string> lines;
    for (const std::string& line : g_errors) {
        const size_t close = line.find(')', kHead);
        lines.push_back(line.substr(kHead, close - kHead) + ":" +
                        line.substr(close + 1, line.rfind("():") - close - 1));
    }
    return lines;
}

// From "[tag:line] message" and a line feed; other lines as they are.
std::vector<std::string> LogCapture::progress() const
{
    std::vector<std::string> lines;
    for (const std::string& line : g_debug) {
        const size_t colon = line.find(':'), close = line.find("] ");
        if (line[0] == '[')
            lines.push_back(line.substr(1, colon - 1) + ": " +
                            line.substr(close + 2, line.size() - close - 3));
        else
            lines.push_back(line);
    }
    return lines;
}
