// One-line messages: thrown ones and those that the program goes on after.
#include "program_error.h"

#include <stdarg.h>
#include <stdio.h>

void fail(const char* format, ...)
{
    char text[1024];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    throw ProgramError(text);
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
