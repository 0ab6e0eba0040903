// SPDX-License-Identifier: MIT
// The log is opened with the driver and not with the library, so that an application's environment at that time counts.
#include "log.h"

#include <atomic>

namespace virtual_scanner {

namespace {

std::atomic<void *> log{nullptr};

} // namespace

void open_log()
{
    if (log == nullptr)
        log = EnableLog(0, "pelsane", "virtual");
}

void close_log()
{
    if (void *closed = log.exchange(nullptr))
        DisableLog(closed);
}

void *driver_log()
{
    return log;
}

} // namespace virtual_scanner
