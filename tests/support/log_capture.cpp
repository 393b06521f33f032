#include "log_capture.h"

#include <cstdio>
#include <regex>

#include "ozr_log.h"

namespace
{

Lines g_errors, g_debug, g_info;

template <Lines& lines>
void collect(const char* format, va_list args)
{
    char line[2048];
    vsnprintf(line, sizeof(line), format, args);
    lines.push_back(line);
}

// The lines, what `pattern` finds in each replaced.
Lines replaced(Lines lines, const char* pattern, const char* by)
{
    for (std::string& line : lines)
        line = std::regex_replace(line, std::regex(pattern), by);
    return lines;
}

}  // namespace

LogCapture::LogCapture()
{
    for (Lines* lines : {&g_errors, &g_debug, &g_info})
        lines->clear();
    ozr_log_set_external_error(collect<g_errors>);
    ozr_log_set_external_debug(collect<g_debug>);
    ozr_log_set_external_info(collect<g_info>);
}

LogCapture::~LogCapture()
{
    ozr_log_set_external_error(nullptr);
    ozr_log_set_external_debug(nullptr);
    ozr_log_set_external_info(nullptr);
}

Lines LogCapture::info() const
{
    return g_info;
}

// From "OZR_EXCEPTION(code) text @ function():line"; a failed condition keeps its head.
Lines LogCapture::chain() const
{
    return replaced(replaced(g_errors, "\\(\\):\\d+$", ""), "^OZR_EXCEPTION\\((\\w+)\\)", "$1:");
}

// From "[tag:line] message" and a line feed; other lines as they are.
Lines LogCapture::progress() const
{
    return replaced(g_debug, "^\\[(.*):\\d+\\] (.*)\n$", "$1: $2");
}
