#include "support/sleeps.h"

#include <ctime>
#include <unistd.h>

// Takes the place of the C library's function of this name.
int usleep(useconds_t microseconds)
{
    if (!Sleeps::recording) {
        const timespec time = {static_cast<time_t>(microseconds / 1000000),
                               static_cast<long>(microseconds % 1000000 * 1000)};
        return nanosleep(&time, nullptr);
    }
    Sleeps::microseconds += microseconds;
    if (Sleeps::watch != nullptr)
        Sleeps::watch();
    return 0;
}
