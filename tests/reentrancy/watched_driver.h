// SPDX-License-Identifier: MIT
// The driver as this executable stands in front of it: every kx_scanner_* call passes here on its way to the scripted
// platform. It counts the calls that an entry point makes, lets a nested call come in from within one of them, and
// keeps book of what is open, since the rules are about that: no call on a handle that is not open, every open closed
// once, no further call of an entry point on a device that was closed meanwhile, or of a driver that was shut down.
#ifndef PELSANE_REENTRANCY_WATCHED_DRIVER_H
#define PELSANE_REENTRANCY_WATCHED_DRIVER_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace watched_driver {

// Before the driver does the call's work, or behind it, right before it returns.
enum class moment { before, behind };

struct intrusion {
    std::size_t nth = static_cast<std::size_t>(-1); // the driver call, counted from 0
    moment when = moment::before;
    bool by_event = false; // through the callback that initialize got, else straight
    std::function<void()> nested;
};

// Nothing open, nothing counted. Opens get the first handle that is free of 0x100000002, 0x200000004, ..., so that a
// handle comes back at once.
void reset();

// Between begin and end an entry point runs. With `may_follow` it may well call on devices that were opened within.
void begin(intrusion planned, bool may_follow);
void end();

// The functions that the entry point called, in order; "event 3" for a request for access.
const std::vector<std::string> &points();
bool has_come_in();

// What the frontend's event function does: event 3 is one of the points, any other lets the nested call in.
int receive_event(int event);

// How many opens there have been when this handle was opened, 0 while it is not open.
unsigned long generation_of(const void *scanner);
std::size_t open_count(); // with those that are closing
int starts_left();        // kx_scanner_initialize without an end
int notices_left();       // of languages, registered and not removed
// What the entry point itself opened last, null for nothing, and how many opens there had been then.
void *opened_by_entry_point();
unsigned long own_generation_of(const void *scanner);

// What broke a rule.
const std::vector<std::string> &violations();

} // namespace watched_driver

#endif
