// SPDX-License-Identifier: MIT
// What an application does from init to exit on a device with an option of each kind: list, open, describe, read,
// write, reload, scan, cancel, close. Every call of the backend is a step with what the application gets to see.
#ifndef PELSANE_TESTS_INJECTION_SESSION_H
#define PELSANE_TESTS_INJECTION_SESSION_H

#include <cstddef>
#include <string>
#include <vector>

namespace injection {

// What kind of call a step is: which failures it may answer depends on it.
enum class request {
    init,
    list,
    open,
    describe,
    describe_well_known, // an option of the backend's own, whose number depends on what the driver described so far
    read,                // control_option: a value
    read_count,          // ... of option 0
    read_default,        // ...
    read_fixed_id,       // ...
    read_log,            // ... of the driver's log
    write,               // ...
    write_default,       // ... automatically
    write_item,          // ... of an information item
    control,
    change_language,
    scan, // parameters, start, read
    cancel,
    close,
    exit
};

struct step {
    request kind;
    std::string name;
    int status;              // 0 where the call has none
    std::string outcome;     // what else the call gave
    std::string activity;    // of a descriptor: "active" or "inactive"
    std::size_t allocations; // of the session up to the end of this step
    std::size_t driver_calls;

    [[nodiscard]] std::string text() const; // "name: status outcome activity"
};

// From init to exit; a session that gets no backend or no device goes to its end. Faults are planned before.
std::vector<step> run_session();

// The step that made the nth allocation or driver call of a session; the number of steps when none did.
std::size_t step_of_allocation(const std::vector<step> &session, std::size_t nth);
std::size_t step_of_driver_call(const std::vector<step> &session, std::size_t nth);

// Null when there is none.
const step *find_step(const std::vector<step> &session, const std::string &name);

// The name of the step from which on nothing that the options lost by an earlier failure is missing any more.
inline constexpr const char *recovery = "change language again";

// The blocks that device lists of sessions hold: the last one is kept until the next.
long listed_blocks();

} // namespace injection

#endif
