// The time of day as the library sees it.
#ifndef WRAPPED_CLOCK_H
#define WRAPPED_CLOCK_H

#include <cstdint>
#include <sys/time.h>

// A clock that stands still while it exists; time passes by pass() only.
class WrappedClock
{
public:
    explicit WrappedClock(timeval start)
    {
        now = start;
        pass(0);
        standing = true;
    }
    ~WrappedClock() { standing = false; }
    WrappedClock(const WrappedClock&) = delete;
    WrappedClock& operator=(const WrappedClock&) = delete;

    void pass(uint32_t microseconds)
    {
        const int64_t total = now.tv_usec + static_cast<int64_t>(microseconds);
        now.tv_sec += static_cast<time_t>(total / 1000000);
        now.tv_usec = static_cast<suseconds_t>(total % 1000000);
    }

    static inline bool standing;
    static inline timeval now;
};

#endif
