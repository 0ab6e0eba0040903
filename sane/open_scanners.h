// SPDX-License-Identifier: MIT
// The driver's handles of the opened devices, for calls that may come at any instruction of another one.
#ifndef PELSANE_OPEN_SCANNERS_H
#define PELSANE_OPEN_SCANNERS_H

// add and remove come from one thread at a time, contains from anywhere: other threads, signal handlers, and between
// any two instructions of the other two.
namespace open_scanners {

void add(void *scanner); // throws std::bad_alloc, and nothing is added then
void remove(void *scanner) noexcept;
[[nodiscard]] bool contains(const void *scanner) noexcept; // never true for null

// The same, quicker when it was asked for the same handle the last time. Not for signal handlers, which change nothing.
[[nodiscard]] bool contains_still(const void *scanner) noexcept;

} // namespace open_scanners

#endif
