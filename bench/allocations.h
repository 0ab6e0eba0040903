// SPDX-License-Identifier: MIT
// Every allocation of the process goes through counters.
#ifndef PELSANE_BENCH_ALLOCATIONS_H
#define PELSANE_BENCH_ALLOCATIONS_H

#include <cstddef>

std::size_t allocations_made();
std::size_t bytes_held(); // in blocks that are held, each rounded up as the allocator rounds it

#endif
