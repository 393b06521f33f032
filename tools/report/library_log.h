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
    double milliseconds;  // since the hooks were set
};

struct KeptLog {
    std::vector<LogLine> lines;
    size_t left_out = 0;  // lines beyond those that are kept
};

/**
 * Sets the four hooks.
 *
 * @param verbose  show each line on standard error.
 * @param keep     collect the lines for kept_log.
 */
void set_log_hooks(ozr_config* config, bool verbose, bool keep);

/** The lines since the hooks were set. */
const KeptLog& kept_log();

/** To be called before each composition: forgets what the log told of the one before. */
void forget_pictures_used();

/**
 * How many pictures the last composition used, as far as the log tells.
 *
 * The interface does not say when pictures are left out because they drift too far across the sweep; the log does.
 * @param given  pictures that were handed to the library: the answer when none was left out.
 */
int pictures_used_by_log(int given);

/** Silences the library as long as it lives. */
class QuietLibrary
{
public:
    QuietLibrary();
    QuietLibrary(const QuietLibrary&) = delete;
    QuietLibrary& operator=(const QuietLibrary&) = delete;
    ~QuietLibrary();
};

}  // namespace ozr_pano

#endif
