// SPDX-License-Identifier: MIT
// The driver's events and the thread that reports them.
#ifndef PELSANE_VIRTUAL_EVENTS_H
#define PELSANE_VIRTUAL_EVENTS_H

#include "kx_scanner.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace virtual_scanner {

// This scanner's own event codes. They come with the device's handle and without data.
enum : int {
    event_job_started = 0x100, // the first sheet of a job moves
    event_job_ended = 0x101,   // the feeder ran empty, the job's pages are scanned, or it was stopped
};

class events {
public:
    events() = default;
    ~events() { stop(); }
    events(const events &) = delete;
    events &operator=(const events &) = delete;

    // Starts the thread, which asks first whether anyone listens. Without a callback there is no thread.
    void start(kx_event_callback callback, void *parameter);

    // Ends the thread after the report that it is at; what was not reported is dropped. Of several callers each waits
    // for this end. False, with nothing done, on the thread itself, which cannot.
    bool stop();

    // Reports an event soon, in order, if anyone listens. Does not wait.
    void post(void *device, int event);

private:
    struct pending {
        void *device;
        int event;
    };

    void run(kx_event_callback callback, void *parameter);

    std::mutex thread_lock_; // over the thread's start and end
    std::thread thread_;
    std::mutex lock_; // over the rest
    std::condition_variable changed_;
    std::deque<pending> queue_;
    bool is_running_ = false;
};

} // namespace virtual_scanner

#endif
