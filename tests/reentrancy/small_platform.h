// SPDX-License-Identifier: MIT
// A platform of few instructions, for the process that is stepped through: a driver with one option, each write of
// which changes others, a language library that knows nothing, a log that goes nowhere. What signal handlers reach of
// it neither allocates nor locks.
#ifndef PELSANE_REENTRANCY_SMALL_PLATFORM_H
#define PELSANE_REENTRANCY_SMALL_PLATFORM_H

#include <cstddef>

namespace small_platform {

constexpr std::size_t most_devices = 32;

// A device from the end of kx_scanner_open to the begin of kx_scanner_close.
struct device {
    bool is_open = false;
    long stops = 0; // kx_scanner_stop while it was open
};

struct book {
    device devices[most_devices]; // in the order of opening
    std::size_t opened = 0;
    long closed = 0;
    long started = 0; // kx_scanner_initialize
    long ended = 0;   // kx_scanner_uninitialize

    // What a signal handler brings about.
    bool is_in_handler = false;
    long wrong_stops = 0; // of a device that is not open
    long other_calls = 0; // any call but kx_scanner_stop
    long allocations = 0; // memory taken or released
};
book &the_book();

// The frontend's handle of the device that was opened as the n-th, counted from 0.
void *handle_of(std::size_t nth);

void change_language();

} // namespace small_platform

#endif
