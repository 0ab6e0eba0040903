/* SPDX-License-Identifier: MIT */
/* To be preloaded: takes the backend's pause of 500 ms at init out of a process, and no other one. */
#include <time.h>

int nanosleep(const struct timespec *wanted, struct timespec *rest)
{
    if (wanted->tv_sec == 0 && wanted->tv_nsec == 500000000)
        return 0;
    return clock_nanosleep(CLOCK_REALTIME, 0, wanted, rest) == 0 ? 0 : -1;
}
