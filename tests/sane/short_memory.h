// SPDX-License-Identifier: MIT
// Memory that runs short at a chosen allocation of the calling thread.
#ifndef PELSANE_TESTS_SHORT_MEMORY_H
#define PELSANE_TESTS_SHORT_MEMORY_H

namespace short_memory {

// While it lives, the nth allocation (0: the next) that this thread's code in this executable makes fails: of calloc,
// or of operator new. Those before and after succeed.
class failing_calloc {
public:
    explicit failing_calloc(int nth);
    ~failing_calloc();
    failing_calloc(const failing_calloc &) = delete;
    failing_calloc &operator=(const failing_calloc &) = delete;

    // Whether there were that many allocations.
    [[nodiscard]] bool has_failed() const;
};

class failing_new {
public:
    explicit failing_new(int nth);
    ~failing_new();
    failing_new(const failing_new &) = delete;
    failing_new &operator=(const failing_new &) = delete;
    [[nodiscard]] bool has_failed() const;
};

// How many blocks of calloc this thread's code in this executable has not given back, or given back too many.
[[nodiscard]] long blocks_held();

} // namespace short_memory

#endif
