#include "support/wrapped_clock.h"

extern "C" {

int __real_gettimeofday(timeval* now, void* zone);

int __wrap_gettimeofday(timeval* now, void* zone)
{
    if (!WrappedClock::standing)
        return __real_gettimeofday(now, zone);
    *now = WrappedClock::now;
    return 0;
}
}
