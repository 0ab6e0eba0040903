// SPDX-License-Identifier: MIT
// A process that is stepped through, instruction by instruction, with a signal in front of each.
#ifndef PELSANE_REENTRANCY_STEPPING_H
#define PELSANE_REENTRANCY_STEPPING_H

#include "small_platform.h"

#include <functional>
#include <string>

namespace stepping {

// What the process does: `prepare` at full speed, `work` in steps. Both return whether all went as it should.
struct scenario {
    std::function<bool()> prepare;
    std::function<bool()> work;
};

struct result {
    bool is_allowed = true; // to trace a process
    std::string end;        // how the process ended, when not well
    long instructions = 0;  // of work
    long signals = 0;       // whose handler ran in front of one
    long cancels = 0;       // that the handlers made
    small_platform::book book;
};

// Runs a scenario in a child. In front of every instruction a signal comes, whose handler cancels every device that
// there is or was, the one that is being opened, and a null handle.
result step_through(const scenario &steps);

} // namespace stepping

#endif
