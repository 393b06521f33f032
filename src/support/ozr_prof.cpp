// The profiler: wall-clock statistics in static slots. Stamps are 32-bit microseconds that wrap about every 71
// minutes; intervals are unsigned differences, so a wrap inside an interval does no harm.
#include <string.h>
#include <sys/time.h>

#include <algorithm>

#include "ozr_log.h"
#include "ozr_memory.h"
#include "ozr_prof.h"

namespace
{

constexpr uint32_t kSlots = 1000;
constexpr uint32_t kLabelSize = 300;
constexpr double kMicrosecondsPerMillisecond = 1000.0;

struct Slot {
    uint32_t start;
    uint32_t accumulated;
    uint32_t minimum;  // 0: none yet
    uint32_t maximum;
    uint32_t count;
    char label[kLabelSize];  // without a terminator when the label fills it
};

Slot g_slots[kSlots];

uint32_t _stamp()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    return static_cast<uint32_t>(now.tv_sec) * 1000000U + static_cast<uint32_t>(now.tv_usec);
}

// Calls a hook, which takes a va_list, with variable arguments.
OZR_PRINTF(2, 3) void local_log_function(ozr_log_hook function, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    function(format, args);
    va_end(args);
}

double _milliseconds(double microseconds)
{
    return microseconds / kMicrosecondsPerMillisecond;
}

// Calls print(format, ...) once for every slot in use.
template <class Print>
void _print_slots(Print print)
{
    for (uint32_t i = 0; i < kSlots; ++i) {
        const Slot& slot = g_slots[i];
        if (slot.count == 0)
            continue;
        char label[kLabelSize + 1] = {};
        memcpy(label, slot.label, kLabelSize);
        print("[%3d] CALL_CNT(%5d) ACC_TIME(%9.3f), MIN(%9.3f), MAX(%9.3f) AVG(%9.3fms) - %s",
              static_cast<int>(i), static_cast<int>(slot.count), _milliseconds(slot.accumulated),
              _milliseconds(slot.minimum), _milliseconds(slot.maximum),
              _milliseconds(static_cast<double>(slot.accumulated) / slot.count), label);
    }
}

}  // namespace

void ozr_prof_set(uint32_t slot)
{
    if (slot < kSlots)
        g_slots[slot] = Slot{};
}

void ozr_prof_go(uint32_t slot)
{
    if (slot < kSlots)
        g_slots[slot].start = _stamp();
}

void ozr_prof_go_label(uint32_t slot, const char* label)
{
    if (slot < kSlots && label != nullptr)
        ozr_strncpy_s(g_slots[slot].label, kLabelSize, label, kLabelSize);
    ozr_prof_go(slot);
}

uint32_t ozr_prof_stop(uint32_t slot)
{
    if (slot >= kSlots)
        return 0;
    Slot& entry = g_slots[slot];
    const uint32_t interval = _stamp() - entry.start;
    entry.start = 0;
    entry.accumulated += interval;
    if (entry.minimum == 0 || interval < entry.minimum)
        entry.minimum = interval;
    entry.maximum = std::max(entry.maximum, interval);
    return ++entry.count;
}

int32_t ozr_prof_print(void)
{
    ozr_log_info("================= prof =================");
    _print_slots([](const char* format, auto... values) { ozr_log_info(format, values...); });
    ozr_log_info("========================================");
    return 0;
}

int32_t ozr_prof_print_logfunc(ozr_log_hook function)
{
    if (function == nullptr)
        return ozr_err_invalid_argument;
    local_log_function(function, "================= prof log func =================");
    _print_slots(
        [function](const char* format, auto... values) { local_log_function(function, format, values...); });
    local_log_function(function, "=================================================");
    return 0;
}

void ozr_prof_print_timestamp(const char* label, int32_t value)
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    long seconds = static_cast<long>(now.tv_sec);
    double milliseconds = _milliseconds(static_cast<double>(now.tv_usec));
    if (milliseconds >= 999.5) {  // would print as 1000
        seconds += 1;
        milliseconds = 0.0;
    }
    ozr_log_info("@@### [%s] %ld%03.0f - %d", label, seconds, milliseconds, value);
}
