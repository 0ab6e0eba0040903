// SPDX-License-Identifier: MIT
// The driver's events between the driver's thread, which brings them, and the program's, and as the user reads them.
#ifndef PELSANE_INSPECT_EVENT_LOG_H
#define PELSANE_INSPECT_EVENT_LOG_H

#include "backend.h"
#include "output.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace inspect {

// An event with a copy of its data.
struct event_record {
    std::chrono::system_clock::time_point time;
    int code;
    std::string data;
};

// To be made during the call. Data beyond 4096 bytes is left out.
[[nodiscard]] event_record record_of(const event &reported);

// "event 0x102, data 02 00 00 00": what a code means is the driver's.
[[nodiscard]] std::string as_text(const event_record &record);

// {"time": UTC, "event": code, "data": hexadecimal}
[[nodiscard]] json_value as_json(const event_record &record);

class event_queue {
public:
    void push(event_record record);

    // The next event, waited for; nothing when none comes in time.
    [[nodiscard]] std::optional<event_record> next(std::chrono::milliseconds timeout);

private:
    std::mutex lock_;
    std::condition_variable arrived_;
    std::deque<event_record> records_;
};

} // namespace inspect

#endif
