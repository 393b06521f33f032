#include "log_capture.h"

#include <cstdio>

#include "ozr_log.h"

namespace
{

std::vector<std::string> g_errors;
std::vector<std::string> g_debug;
std::vector<std::string> g_info;

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

void on_info(const char* format, va_list args)
{
    g_info.push_back(formatted(format, args));
}

}  // namespace

LogCapture::LogCapture()
{
    g_errors.clear();
    g_debug.clear();
    g_info.clear();
    ozr_log_set_external_error(on_error);
    ozr_log_set_external_debug(on_debug);
    ozr_log_set_external_info(on_info);
}

LogCapture::~LogCapture()
{
    ozr_log_set_external_error(nullptr);
    ozr_log_set_external_debug(nullptr);
    ozr_log_set_external_info(nullptr);
}

std::vector<std::string> LogCapture::info() const
{
    return g_info;
}

// From "OZR_EXCEPTION(code) text @ function():line"; a failed condition keeps its head.
std::vector<std::string> LogCapture::chain() const
{
    const std::string head = "OZR_EXCEPTION(";
    std::vector<std::string> lines;
    for (std::string line : g_errors) {
        line.resize(line.rfind("():"));
        if (line.compare(0, head.size(), head) == 0)
            line.erase(0, head.size()).replace(line.find(')'), 1, ":");
        lines.push_back(line);
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
