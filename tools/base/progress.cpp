// The line on a terminal that says what is being done.
#include "base/progress.h"

#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

namespace ozr_pano
{

namespace
{

constexpr char kClearLine[] = "\r\033[K";

}  // namespace

Progress::Progress(bool wanted) : enabled_(wanted && isatty(STDERR_FILENO) != 0) {}

void Progress::show(const char* format, ...)
{
    if (!enabled_)
        return;
    va_list args;
    va_start(args, format);
    fputs(kClearLine, stderr);
    vfprintf(stderr, format, args);
    fflush(stderr);
    va_end(args);
    shown_ = true;
}

void Progress::clear()
{
    if (shown_)
        fputs(kClearLine, stderr);
    shown_ = false;
}

}  // namespace ozr_pano
