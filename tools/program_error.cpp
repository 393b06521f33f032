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
    va_list args;
    va_start(args, format);
    fputs("ozr-pano: ", stderr);
    vfprintf(stderr, format, args);
    fputc('\n', stderr);
    va_end(args);
}
