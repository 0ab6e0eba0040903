// SPDX-License-Identifier: MIT
// What holds for a session with one fault, whatever the fault is.
#ifndef PELSANE_TESTS_INJECTION_CHECKS_H
#define PELSANE_TESTS_INJECTION_CHECKS_H

#include "platform.h"
#include "session.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace injection {

using session = std::vector<step>;

// A session without a fault, and the driver's calls in it.
struct usual_session {
    session steps;
    std::vector<faulty_driver::call> calls;
};
const usual_session &usual();

// Plans a fault and runs a session with it, which leaves nothing behind.
session run_with(const std::function<void()> &plan);

// The next session, without a fault, is as usual.
void expect_usual_session();

// Steps before the fault are as usual, those after it succeed or say what is missing; with `recovers`, everything is as
// usual from the recovery on when the fault came before it.
void expect_fault_stays_in(const session &steps, std::size_t struck, bool recovers);

// Whether the driver's nth call tells how many options there are at open. Without that the backend adds none of its
// own.
bool is_first_count_of_options(std::size_t nth);

// A line in the output of the tests.
void report(const std::string &line);

} // namespace injection

#endif
