#include "log_capture.h"

#include <cstdio>
#include <regex>

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

std::vector<std::string> rewritten(const std::vector<std::string>& lines, const char* pattern,
                                   const char* result)
{
    std::vector<std::string> out;
    for (const std::string& line : lines)
        out.push_back(std::regex_replace(line, std::regex(pattern), result));
    return out;
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

std::vector<std::string> LogCapture::chain() const
{
    return rewritten(g_errors, R"(^OZR_EXCEPTION\((\w+)\) (.*) @ (\w+)\(\):\d+$)", "$1: $2 @ $3");
}

std::vector<std::string> LogCapture::progress() const
{
    return rewritten(g_debug, R"(^\[(\w+):\d+\] (.*)\n$)", "$1: $2");
}
