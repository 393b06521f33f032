// Log lines of the library.
#ifndef LOG_CAPTURE_H
#define LOG_CAPTURE_H

#include <string>
#include <vector>

using Lines = std::vector<std::string>;
using Chain = Lines;  // of one failure, innermost first

// Collects the log lines while it exists. Calls `told` with the number of each debug line, from 1.
class LogCapture
{
public:
    explicit LogCapture(void (*told)(size_t line) = nullptr);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Error lines, innermost first, as "code: text @ function": the source line is left out.
    Lines chain() const;

    // Info lines.
    Lines info() const;

    // Debug lines of the engine as "tag: message".
    Lines progress() const;
};

#endif
