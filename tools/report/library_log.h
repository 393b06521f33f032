// The library's log, seen through the hooks of its configuration.
#ifndef LIBRARY_LOG_H
#define LIBRARY_LOG_H

#include <ozr_types.h>

#include <string>
#include <vector>

namespace ozr_pano
{

struct LogLine {
    char level;  // 'E', 'W', 'I', 'D'
    std::string text;
    double milliseconds;  // since hooks were set first
};

struct KeptLog {
    std::vector<LogLine> lines;
    size_t left_out = 0;  // lines beyond those that are kept
};

// Sets the four hooks.
// `verbose`: show each line on standard error.
// `keep`: collect the lines for kept_log.
void set_log_hooks(ozr_config* config, bool verbose, bool keep);

// The lines of all sessions that were to be kept.
const KeptLog& kept_log();

}  // namespace ozr_pano

#endif
