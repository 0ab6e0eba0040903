// SPDX-License-Identifier: MIT
// This executable's nanosleep takes the place of the C library's, for the backend too, so that suites are quick.
#include "pauses.h"

#include <ctime>
#include <mutex>
#include <vector>

namespace {

std::mutex lock;
std::vector<long> recorded_ms;

} // namespace

namespace pauses {

std::vector<long> made_ms()
{
    const std::lock_guard<std::mutex> held(lock);
    return recorded_ms;
}

void forget()
{
    const std::lock_guard<std::mutex> held(lock);
    recorded_ms.clear();
}

} // namespace pauses

extern "C" [[gnu::visibility("default")]] int nanosleep(const timespec *requested, timespec *)
{
    const std::lock_guard<std::mutex> held(lock);
    recorded_ms.push_back(requested->tv_sec * 1000 + requested->tv_nsec / 1000000);
    return 0;
}
