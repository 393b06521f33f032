#include "fuzz_process.h"

#include <stdio.h>
#include <unistd.h>

#include "kernels/cpu.h"
#include "kernels/kernels.h"
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

void fuzz_choose_kernels(FuzzInput* input)
{
    static const uint32_t features = ozr::kernels::cpu_features();
    int32_t levels = 0;
    while (ozr::kernels::kLevels[levels] != nullptr &&
           (ozr::kernels::kLevels[levels]->features & ~features) == 0)
        ++levels;
    ozr::kernels::set_for_test(ozr::kernels::kLevels[input->between(0, levels - 1)]);
}

void fuzz_choose_logging(FuzzInput* input)
{
    ozr_log_set_external_error(fuzz_drop_line);
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
