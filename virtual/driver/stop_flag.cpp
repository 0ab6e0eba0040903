// SPDX-License-Identifier: MIT
// A stop request is two atomic stores and a futex call: what a signal handler may do. The waiter reads the bell before
// it looks at the flag, so that a request between the look and the wait does not go unheard.
// Tested by driver_cancel_test.
#include "stop_flag.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <functional>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace virtual_scanner {

void stop_flag::request(std::uintptr_t handle) noexcept
{
    requested_for_ = handle;
    wake();
}

void stop_flag::wake() noexcept
{
    const int saved = errno;
    ++bell_;
    syscall(SYS_futex, &bell_, FUTEX_WAKE_PRIVATE, INT32_MAX, nullptr, nullptr, 0);
    errno = saved;
}

void stop_flag::wait(std::uintptr_t handle, std::chrono::milliseconds time, const std::function<bool()> &is_over)
{
    using clock = std::chrono::steady_clock;
    const auto end = clock::now() + time;
    for (auto rest = end - clock::now(); rest.count() > 0; rest = end - clock::now()) {
        const std::uint32_t heard = bell_;
        if (is_requested(handle) || is_over())
            return;
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
        timespec limit{};
        limit.tv_sec = seconds.count();
        limit.tv_nsec = std::chrono::duration_cast<std::chrono::nanoseconds>(rest - seconds).count();
        syscall(SYS_futex, &bell_, FUTEX_WAIT_PRIVATE, heard, &limit, nullptr, 0);
    }
}

} // namespace virtual_scanner
