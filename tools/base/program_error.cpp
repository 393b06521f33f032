// One-line messages: thrown ones and those that the program goes on after.
#include "base/program_error.h"

#include "base/quoting.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

namespace ozr_pano
{

namespace
{

/** What to do about an errno. */
const char* _remedy(int error)
{
    switch (error) {
    case ENOENT:
        return "check the name";
    case EISDIR:
        return "name a file, not a folder";
    case ENOTDIR:
        return "a part of the path is no folder, check the name";
    case EACCES:
    case EPERM:
    case EROFS:
        return "change its permissions, or choose another place";
    case ENOSPC:
    case EDQUOT:
        return "make room, or choose another place";
    default:
        return "try again, or choose another place";
    }
}

}  // namespace

void fail(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const std::string text = formatted(format, args);
    va_end(args);
    throw ProgramError(text);
}

void fail_file(const std::string& path, const char* action, int error)
{
    fail("%s: cannot be %s: %s; %s", path.c_str(), action, strerror(error), _remedy(error));
}

void say(const char* format, ...)
{
    char text[2048];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    // Names of files and fields of streams may hold anything; the message stays one line and leaves the terminal alone.
    for (char* c = text; *c != '\0'; ++c) {
        if (static_cast<unsigned char>(*c) < 0x20 || *c == 0x7F)
            *c = '?';
    }
    fprintf(stderr, "ozr-pano: %s\n", text);
}

}  // namespace ozr_pano
