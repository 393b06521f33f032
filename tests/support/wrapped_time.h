// Time as the library sees it: the time of day, and its sleeps.
#ifndef WRAPPED_TIME_H
#define WRAPPED_TIME_H

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

// While it exists nothing sleeps: sleeps are added up, and each calls `told`.
// Of one thread at a time.
class Sleeps
{
public:
    explicit Sleeps(void (*told)() = nullptr)
    {
        watch = told;
        microseconds = 0;
        recording = true;
    }
    ~Sleeps() { recording = false; }
    Sleeps(const Sleeps&) = delete;
    Sleeps& operator=(const Sleeps&) = delete;

    int64_t milliseconds() const { return microseconds / 1000; }

    static inline bool recording;
    static inline int64_t microseconds;
    static inline void (*watch)();
};

#endif
