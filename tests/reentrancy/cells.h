// SPDX-License-Identifier: MIT
// A cell of the grid: one entry point, one driver call within it, one nested call that comes in there.
#ifndef PELSANE_REENTRANCY_CELLS_H
#define PELSANE_REENTRANCY_CELLS_H

#include "frontend.h"
#include "watched_driver.h"

#include <cstddef>
#include <string>
#include <vector>

// What an entry point does when nothing comes in.
struct undisturbed {
    outcome result;
    std::vector<std::string> points;
};
undisturbed run_undisturbed(const entry_point &entry, route by);

struct cell {
    const entry_point *entry;
    const nested_call *nested;
    std::size_t nth; // driver call
    watched_driver::moment when;
    route by;
};
std::string name_of(const cell &which, const undisturbed &before);

// Runs a cell from a fresh platform to an ended backend. Says what went wrong; nothing when all is well.
struct findings {
    bool came_in = false;
    std::vector<std::string> wrong;
};
findings run_cell(const cell &which, const undisturbed &before);

#endif
