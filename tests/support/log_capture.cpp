#include "log_capture.h"

#include <algorithm>
#include <cstdio>

#include "ozr_log.h"

namespace
{

Lines g_errors, g_debug, g_info;
void (*g_told)(size_t line);

template <Lines& lines>
void collect(const char* format, va_list args)
{
    char line[2048];
    vsnprintf(line, sizeof(line), format, args);
    lines.push_back(line);
    if (&lines == &g_debug && g_told != nullptr)
        g_told(lines.size());
}

}  // namespace

LogCapture::LogCapture(void (*told)(size_t line))
{
    g_told = told;
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
    const std::string head = "OZR_EXCEPTION(";
    Lines lines = g_errors;
    for (std::string& line : lines) {
        line.resize(std::min(line.rfind("():"), line.size()));
        if (line.compare(0, head.size(), head) == 0) {
            line.erase(0, head.size());
            line.replace(line.find(')'), 1, ":");
        }
    }
    return lines;
}

// From "[tag:line] message" and a line feed; other lines without what follows a function's brackets.
Lines LogCapture::progress() const
{
    Lines lines = g_debug;
    for (std::string& line : lines) {
        const size_t colon = line.find(':'), close = line.find("] ");
        if (line[0] == '[' && line.back() == '\n')
            line = line.substr(1, colon - 1) + ": " + line.substr(close + 2, line.size() - close - 3);
    }
    return lines;
}
