// The C library's usleep as the library sees it: while a recorder lives, nothing sleeps and everything is counted.
#ifndef SLEEPS_H
#define SLEEPS_H

#include <cstdint>

class Sleeps
{
public:
    // Calls `told` instead of each sleep.
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

    // Of one thread at a time.
    static inline bool recording;
    static inline int64_t microseconds;
    static inline void (*watch)();
};

#endif
