// SPDX-License-Identifier: MIT
// One thread between start and stop, so that reports never run on an application's thread and never hold a lock.
// Tested by driver_lifecycle_test.
#include "events.h"

#include <csignal>
#include <pthread.h>

namespace virtual_scanner {

namespace {

thread_local bool is_event_thread = false;

// An application's signal handlers are to run on its own threads.
class all_signals_blocked {
public:
    all_signals_blocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~all_signals_blocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    all_signals_blocked(const all_signals_blocked &) = delete;
    all_signals_blocked &operator=(const all_signals_blocked &) = delete;

private:
    sigset_t before_;
};

} // namespace

void events::start(kx_event_callback callback, void *parameter)
{
    const std::lock_guard<std::mutex> starting(thread_lock_);
    if (callback == nullptr || thread_.joinable())
        return;
    const std::lock_guard<std::mutex> guard(lock_);
    const all_signals_blocked blocked; // inherited by the thread
    thread_ = std::thread([this, callback, parameter] { run(callback, parameter); });
    is_running_ = true;
}

bool events::stop()
{
    if (is_event_thread)
        return false;
    const std::lock_guard<std::mutex> stopping(thread_lock_);
    {
        const std::lock_guard<std::mutex> guard(lock_);
        is_running_ = false;
        queue_.clear();
        changed_.notify_one();
    }
    if (thread_.joinable())
        thread_.join();
    return true;
}

void events::post(void *device, int event)
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (!is_running_)
        return;
    queue_.push_back({device, event});
    changed_.notify_one();
}

void events::run(kx_event_callback callback, void *parameter)
{
    is_event_thread = true;
    const bool is_listened = callback(nullptr, KX_EVENT_IS_LISTENED, nullptr, nullptr, parameter) == SCANNER_ERR_OK;
    std::unique_lock<std::mutex> guard(lock_);
    while (true) {
        changed_.wait(guard, [this] { return !is_running_ || !queue_.empty(); });
        if (!is_running_)
            return;
        const pending next = queue_.front();
        queue_.pop_front();
        guard.unlock();
        unsigned int length = 0;
        if (is_listened)
            callback(next.device, next.event, nullptr, &length, parameter);
        guard.lock();
    }
}

} // namespace virtual_scanner
