// SPDX-License-Identifier: MIT
// Steps that may crash, run in children: a crash costs one step and has a name, and the rest still runs.
#ifndef PELSANE_REENTRANCY_FORKED_H
#define PELSANE_REENTRANCY_FORKED_H

#include <cstddef>
#include <functional>
#include <string>

namespace forked {

// What parent and child share.
struct account {
    std::size_t under_way = 0; // the step, counted from 0
    std::size_t steps = 0;     // that took place
    std::size_t failed = 0;
    char name[200] = {}; // of the step under way
    char texts[32768] = {};
};

// In the child: notes what a step found wrong.
void note(account &shared, const std::string &text);

// Runs work(begin, account) in a child; when it crashes or hangs at a step, again from behind that one.
account run(const std::function<void(std::size_t begin, account &shared)> &work);

// To be called by work at each step, which has some seconds from then on.
void begin_step(account &shared, std::size_t step, const std::string &name);

} // namespace forked

#endif
