// SPDX-License-Identifier: MIT
// An application may call in from within any driver call, by the event that the driver sends there, and close, open,
// exit or reload anything. Here every entry point meets every such call at every driver call that it makes, at its
// begin and at its end. The cells are generated: an entry point's driver calls are those that it makes undisturbed.
#include "cells.h"
#include "forked.h"
#include "frontend.h"
#include "watched_driver.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using watched_driver::moment;

bool belongs(const entry_point &entry, const nested_call &nested)
{
    return nested.only_within == nullptr || entry.name == nested.only_within;
}

// All cells of an entry point, from the one with the number `begin` on.
void run_cells(const entry_point &entry, route by, moment when, std::size_t begin, forked::account &shared)
{
    forked::begin_step(shared, shared.under_way, entry.name + " undisturbed");
    const undisturbed alone = run_undisturbed(entry, by);
    std::size_t step = 0;
    for (std::size_t nth = 0; nth < alone.points.size(); ++nth) {
        for (const nested_call &nested : nested_calls()) {
            if (!belongs(entry, nested) || step++ < begin)
                continue;
            const cell which{&entry, &nested, nth, when, by};
            forked::begin_step(shared, step - 1, name_of(which, alone));
            const findings found = run_cell(which, alone);
            shared.steps += found.came_in ? 1 : 0;
            shared.failed += found.wrong.empty() ? 0 : 1;
            for (const std::string &each : found.wrong)
                forked::note(shared, each);
        }
    }
}

// The number of cells in which the nested call came in.
std::size_t run_grid(route by, moment when)
{
    std::size_t cells = 0;
    std::size_t failed = 0;
    std::size_t entries = 0;
    for (const entry_point &entry : entry_points()) {
        if (entry.needs_well_known && by == route::by_event)
            continue;
        const forked::account done =
            forked::run([&](std::size_t begin, forked::account &shared) { run_cells(entry, by, when, begin, shared); });
        ++entries;
        cells += done.steps;
        failed += done.failed;
        EXPECT_EQ(std::size_t{0}, done.failed) << "cells of " << entry.name << "\n" << done.texts;
    }
    std::printf("%zu entry points, %zu nested calls, %zu cells, %zu failed\n", entries, nested_calls().size(), cells,
                failed);
    return cells;
}

// The least number of cells: fewer mean that the grid has lost something.
constexpr std::size_t cells_by_event = 9200;
constexpr std::size_t cells_straight = 11600;

} // namespace

TEST(reentrancy, nested_calls_by_an_event_at_the_begin_of_a_driver_call)
{
    EXPECT_GE(run_grid(route::by_event, moment::before), cells_by_event);
}

TEST(reentrancy, nested_calls_by_an_event_at_the_end_of_a_driver_call)
{
    EXPECT_GE(run_grid(route::by_event, moment::behind), cells_by_event);
}

TEST(reentrancy, nested_calls_at_the_begin_of_a_driver_call)
{
    EXPECT_GE(run_grid(route::straight, moment::before), cells_straight);
}

TEST(reentrancy, nested_calls_at_the_end_of_a_driver_call)
{
    EXPECT_GE(run_grid(route::straight, moment::behind), cells_straight);
}
