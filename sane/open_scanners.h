// SPDX-License-Identifier: MIT
// The driver's handles of the opened devices, for calls that may come at any instruction of another one.
#ifndef PELSANE_OPEN_SCANNERS_H
#define PELSANE_OPEN_SCANNERS_H

#include <atomic>

// add and remove come from one thread at a time, contains from anywhere: other threads, signal handlers, and between
// any two instructions of the other two.
namespace open_scanners {

void add(void *scanner); // throws std::bad_alloc, and nothing is added then
void remove(void *scanner) noexcept;
[[nodiscard]] bool contains(const void *scanner) noexcept; // never true for null

void release() noexcept; // when the library is unloaded: no call may come any more

// The place where the last handle was found; never null.
extern std::atomic<std::atomic<void *> *> found_last;
[[nodiscard]] bool find(const void *scanner) noexcept; // contains, and found_last

// The same as contains, quicker for a handle that was asked for the last time. Not for signal handlers, which change
// nothing.
[[nodiscard]] inline bool contains_still(const void *scanner) noexcept
{
    return (scanner != nullptr && *found_last.load(std::memory_order_relaxed) == scanner) || find(scanner);
}

} // namespace open_scanners

#endif
