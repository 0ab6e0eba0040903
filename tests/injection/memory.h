// SPDX-License-Identifier: MIT
// The process's memory, with the backend's share of it counted and made to run short. What an entry point allocates
// between its call and its return is the backend's, whoever allocates on its behalf (cJSON, the C++ library), but for
// what the platform libraries do meanwhile. One thread makes these calls.
#ifndef PELSANE_TESTS_INJECTION_MEMORY_H
#define PELSANE_TESTS_INJECTION_MEMORY_H

#include <cstddef>

namespace faulty_memory {

// While it lives, the calling thread is in the backend; while an `outside` lives in it, it is not.
class inside {
public:
    inside();
    ~inside();
    inside(const inside &) = delete;
    inside &operator=(const inside &) = delete;
};

class outside {
public:
    outside();
    ~outside();
    outside(const outside &) = delete;
    outside &operator=(const outside &) = delete;

private:
    bool was_inside_;
};

enum class source { malloc, calloc, realloc, operator_new, count };

// Forgets what was counted; no allocation fails, but for single ones of more than a gigabyte.
void reset();

// From the next reset on: the nth allocation of the backend (0: the first) fails, and if `lasting`, so do all others
// until the entry point returns.
enum class shortage { single, lasting };
void fail(std::size_t nth, shortage kind);

// Whether what C libraries allocate themselves counts, and fails, or objects of C++ alone. It does at first.
void count_c_libraries(bool is_wanted);

std::size_t made();                // allocations of the backend since the reset, failed ones included
bool has_failed();                 // whether there were that many
source failed_source();            // of the first that failed
long blocks();                     // that the backend holds: made and not released since the process began
const char *name_of(source which); // "malloc", "calloc", "realloc", "operator new"

} // namespace faulty_memory

#endif
