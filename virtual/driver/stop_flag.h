// SPDX-License-Identifier: MIT
// The request to stop a job, raised from any thread or signal handler.
#ifndef PELSANE_VIRTUAL_STOP_FLAG_H
#define PELSANE_VIRTUAL_STOP_FLAG_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>

namespace virtual_scanner {

// One for each place in the handle table, used by one handle after another; a request is for one handle and says
// nothing to the next one.
class stop_flag {
public:
    // Lock-free and async-signal-safe.
    void request(std::uintptr_t handle) noexcept;

    [[nodiscard]] bool is_requested(std::uintptr_t handle) const noexcept { return requested_for_ == handle; }

    // Forgets a request; true when there was one.
    bool take(std::uintptr_t handle) noexcept { return requested_for_.compare_exchange_strong(handle, 0); }

    // Waits for the time given or until a stop is requested.
    void wait(std::uintptr_t handle, std::chrono::milliseconds time)
    {
        wait(handle, time, [] { return false; });
    }
    // The same, or until the caller's question is answered with yes. It is asked again at each wake.
    void wait(std::uintptr_t handle, std::chrono::milliseconds time, const std::function<bool()> &is_over);
    void wake() noexcept;

private:
    std::atomic<std::uintptr_t> requested_for_{0};
    std::atomic<std::uint32_t> bell_{0}; // counts the wakes; a futex
    static_assert(std::atomic<std::uintptr_t>::is_always_lock_free && sizeof(bell_) == sizeof(std::uint32_t));
};

} // namespace virtual_scanner

#endif
