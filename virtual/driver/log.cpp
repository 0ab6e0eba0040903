// SPDX-License-Identifier: MIT
// The log is opened with the driver and not with the library, so that an application's environment at that time counts.
#include "log.h"

#include "commonlog.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <new>

namespace virtual_scanner {

namespace {

std::atomic<void *> log{nullptr};
std::mutex lock; // over the next
std::weak_ptr<void> shared;

void close_log(void *closed)
{
    void *current = closed;
    log.compare_exchange_strong(current, nullptr);
    DisableLog(closed);
}

} // namespace

std::shared_ptr<void> open_log() noexcept
{
    const std::lock_guard<std::mutex> guard(lock);
    std::shared_ptr<void> opened = shared.lock();
    if (opened != nullptr)
        return opened;
    try {
        opened.reset(EnableLog(0, "pelsane", "virtual"), close_log);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
    shared = opened;
    log = opened.get();
    return opened;
}

void *driver_log()
{
    return log;
}

} // namespace virtual_scanner
