// What every fuzzer of the library sets up once, or for each input.
#ifndef FUZZ_PROCESS_H
#define FUZZ_PROCESS_H

#include <stdarg.h>

#include "fuzz_input.h"

// Has the library run with one of the kernel levels of this machine.
void fuzz_choose_kernels(FuzzInput* input);

// Turns logging on or off. Lines of errors are noted, others formatted and dropped.
void fuzz_choose_logging(FuzzInput* input);

// A log hook that does the latter.
void fuzz_drop_line(const char* format, va_list args);

#endif
