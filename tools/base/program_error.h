// Failures that end the program with one line on standard error and exit status 1.
#ifndef PROGRAM_ERROR_H
#define PROGRAM_ERROR_H

#include <stdexcept>
#include <string>

namespace ozr_pano
{

/** What went wrong, in words for the user: names the file and the reason, without a line feed. */
struct ProgramError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** The command line asks for what cannot be asked for: exit status 2. */
struct UsageError : ProgramError {
    using ProgramError::ProgramError;
};

/** The library answers otherwise than it was recorded: exit status 3. */
struct Mismatch : ProgramError {
    using ProgramError::ProgramError;
};

/** Throws a ProgramError with a printf-style text, cut at 1023 bytes. */
[[noreturn]] void fail(const char* format, ...) __attribute__((format(printf, 1, 2)));

/**
 * Throws a ProgramError: the file, what cannot be done with it, the system's reason, and what helps.
 *
 * @param action  "read" or "written".
 * @param error   an errno.
 */
[[noreturn]] void fail_file(const std::string& path, const char* action, int error);

/** Writes "ozr-pano: <text>" as one line to standard error. */
void say(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace ozr_pano

#endif
