// Log lines of the library.
#ifndef LOG_CAPTURE_H
#define LOG_CAPTURE_H

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "ozr_log.h"

using Lines = std::vector<std::string>;
using Chain = Lines;  // of one failure, innermost first

// Collects the log lines while it exists. Calls `told` with the number of each debug line, from 1.
class LogCapture
{
public:
    explicit LogCapture(void (*told)(size_t line) = nullptr)
    {
        told_ = told;
        for (Lines* lines : {&errors_, &debug_, &info_})
            lines->clear();
        ozr_log_set_external_error(collect<errors_>);
        ozr_log_set_external_debug(collect<debug_>);
        ozr_log_set_external_info(collect<info_>);
    }
    ~LogCapture()
    {
        ozr_log_set_external_error(nullptr);
        ozr_log_set_external_debug(nullptr);
        ozr_log_set_external_info(nullptr);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const Lines& info() const { return info_; }

    // Error lines, innermost first: "OZR_EXCEPTION(code) text @ function():line" as "code: text @
    // function"; a failed condition keeps its head.
    Chain chain() const
    {
        const std::string head = "OZR_EXCEPTION(";
        Chain lines = errors_;
        for (std::string& line : lines) {
            line.resize(std::min(line.rfind("():"), line.size()));
            if (line.compare(0, head.size(), head) == 0) {
                line.erase(0, head.size());
                line.replace(line.find(')'), 1, ":");
            }
        }
        return lines;
    }

    // Debug lines: those of the engine, "[tag:line] message" and a line feed, as "tag: message".
    Lines progress() const
    {
        Lines lines = debug_;
        for (std::string& line : lines) {
            const size_t colon = line.find(':'), close = line.find("] ");
            if (line[0] == '[' && line.back() == '\n')
                line = line.substr(1, colon - 1) + ": " + line.substr(close + 2, line.size() - close - 3);
        }
        return lines;
    }

private:
    template <Lines& lines>
    static void collect(const char* format, va_list args)
    {
        char line[2048];
        vsnprintf(line, sizeof(line), format, args);
        lines.push_back(line);
        if (&lines == &debug_ && told_ != nullptr)
            told_(lines.size());
    }

    // Shared by all, because there is one set of hooks.
    static inline Lines errors_, debug_, info_;
    static inline void (*told_)(size_t line);
};

#endif
