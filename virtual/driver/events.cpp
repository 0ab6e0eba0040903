// SPDX-License-Identifier: MIT
// A queue between the threads of the application and the one that reports. Tested by driver_lifecycle_test,
// events_test.
#include "events.h"

#include "commonlog.h"
#include "log.h"

#include <cstddef>
#include <mutex>
#include <new>
#include <optional>
#include <sys/eventfd.h>

namespace virtual_scanner {

namespace {

constexpr std::size_t most_reports = 10000; // for a frontend that does not keep up

} // namespace

void events::begin(int wake_up)
{
    const std::lock_guard<std::mutex> guard(lock_);
    wake_up_ = wake_up;
}

void events::end()
{
    const std::lock_guard<std::mutex> guard(lock_);
    wake_up_ = -1;
    queue_.clear();
}

void events::post(void *device, int event, unsigned int button) noexcept
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (wake_up_ < 0 || queue_.size() >= most_reports)
        return;
    try {
        queue_.push_back({device, event, button});
    } catch (const std::bad_alloc &) {
        WarnLog(driver_log(), "Event 0x%x is not reported: memory is short", static_cast<unsigned int>(event));
        return;
    }
    eventfd_write(wake_up_, 1);
}

std::optional<report> events::take()
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (queue_.empty())
        return std::nullopt;
    const report first = queue_.front();
    queue_.pop_front();
    return first;
}

} // namespace virtual_scanner
