#include "fuzz_process.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "fuzz_digest.h"
#include "ozr_log.h"

// The library polls another thread between sleeps. Here there is none, so that every wait runs to
// its end.
extern "C" int usleep(useconds_t)
{
    return 0;
}

// Requests that a negative size turns into are refused, as a phone would.
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:max_allocation_size_mb=512";
}

namespace
{

// What failed, and where, but for the number of the line in the source.
void _note_error(const char* format, va_list args)
{
    char line[256];
    vsnprintf(line, sizeof(line), format, args);
    const char* end = strstr(line, "():");
    fuzz_read_all(line, end != nullptr ? end - line : static_cast<int64_t>(strlen(line)));
}

}  // namespace

void fuzz_choose_logging(FuzzInput* input)
{
    ozr_log_set_external_error(_note_error);
    ozr_log_set_external_warning(fuzz_drop_line);
    ozr_log_set_external_info(fuzz_drop_line);
    ozr_log_set_external_debug(fuzz_drop_line);
    if (input->flag())
        ozr_log_enable();
    else
        ozr_log_disable();
}

void fuzz_drop_line(const char* format, va_list args)
{
    char line[256];
    vsnprintf(line, sizeof(line), format, args);
}
