#include "support/wrapped_time.h"

#include <unistd.h>

extern "C" {

int __real_gettimeofday(timeval* now, void* zone);
int __real_usleep(useconds_t microseconds);

int __wrap_gettimeofday(timeval* now, void* zone)
{
    if (!WrappedClock::standing)
        return __real_gettimeofday(now, zone);
    *now = WrappedClock::now;
    return 0;
}

int __wrap_usleep(useconds_t microseconds)
{
    if (!Sleeps::recording)
        return __real_usleep(microseconds);
    Sleeps::microseconds += microseconds;
    if (Sleeps::watch != nullptr)
        Sleeps::watch();
    return 0;
}
}
