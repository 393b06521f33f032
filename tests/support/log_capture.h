// Collects the library's log lines while it lives.
#ifndef LOG_CAPTURE_H
#define LOG_CAPTURE_H

#include <string>
#include <vector>

class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Error lines, innermost first, as "code: text @ function": the source line is left out.
    std::vector<std::string> chain() const;

    // Debug lines of the engine as "tag: message".
    std::vector<std::string> progress() const;
};

#endif
