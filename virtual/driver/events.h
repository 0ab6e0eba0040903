// SPDX-License-Identifier: MIT
// The driver's events on their way to the frontend.
#ifndef PELSANE_VIRTUAL_EVENTS_H
#define PELSANE_VIRTUAL_EVENTS_H

#include <deque>
#include <mutex>
#include <optional>

namespace virtual_scanner {

// This scanner's own event codes. They come with the device's handle, and but for a button without data.
enum : int {
    event_job_started = 0x100, // the first sheet of a job moves
    event_job_ended = 0x101,   // the feeder ran empty, the job's pages are scanned, or it was stopped
    event_button = 0x102,      // data: the button's number from 1, an unsigned int
    event_paper_in = 0x103,
    event_paper_out = 0x104,
    event_cover_opened = 0x105,
    event_cover_closed = 0x106,
    event_sleep = 0x107,
    event_wake = 0x108,
};

struct report {
    void *device;
    int event;
    unsigned int button; // 0: none
};

// What is to be reported, in order. Filled by any thread, emptied by the service thread.
class events {
public:
    // Reports are kept from here on, and each wakes the thread that waits for this descriptor of an event counter.
    void begin(int wake_up);
    // What was not reported is dropped.
    void end();

    // Reports an event soon, if anyone is there to report it. Does not wait. Dropped when thousands wait already, and
    // when memory is short, which is logged: a job does not fail for it.
    void post(void *device, int event, unsigned int button = 0) noexcept;

    std::optional<report> take();

    // Held while the process is forked, so that the copy is whole.
    std::mutex &lock() { return lock_; }

private:
    std::mutex lock_; // over the rest
    std::deque<report> queue_;
    int wake_up_ = -1; // between begin and end
};

} // namespace virtual_scanner

#endif
