// SPDX-License-Identifier: MIT
// The linker sends this executable's calls of calloc, free and operator new here (--wrap); libraries keep their own.
#include "short_memory.h"

#include <cstddef>
#include <new>

namespace {

constexpr int never = -1;

// Allocations until the one that fails; negative for none.
struct countdown {
    int left = never;
    bool has_failed = false;

    void start(int nth)
    {
        left = nth;
        has_failed = false;
    }

    bool is_due()
    {
        if (left < 0)
            return false;
        has_failed = has_failed || left == 0;
        return left-- == 0;
    }
};

thread_local countdown callocs;
thread_local countdown news;
thread_local long held = 0;

} // namespace

extern "C" {

void *__real_calloc(std::size_t count, std::size_t size);
void __real_free(void *block);
void *__real__Znwm(std::size_t size);

[[gnu::visibility("default")]] void *__wrap_calloc(std::size_t count, std::size_t size)
{
    void *const block = callocs.is_due() ? nullptr : __real_calloc(count, size);
    held += block != nullptr ? 1 : 0;
    return block;
}

[[gnu::visibility("default")]] void __wrap_free(void *block)
{
    held -= block != nullptr ? 1 : 0;
    __real_free(block);
}

[[gnu::visibility("default")]] void *__wrap__Znwm(std::size_t size)
{
    if (news.is_due())
        throw std::bad_alloc();
    return __real__Znwm(size);
}

} // extern "C"

namespace short_memory {

failing_calloc::failing_calloc(int nth)
{
    callocs.start(nth);
}

failing_calloc::~failing_calloc()
{
    callocs.left = never;
}

bool failing_calloc::has_failed() const
{
    return callocs.has_failed;
}

failing_new::failing_new(int nth)
{
    news.start(nth);
}

failing_new::~failing_new()
{
    news.left = never;
}

bool failing_new::has_failed() const
{
    return news.has_failed;
}

long blocks_held()
{
    return held;
}

} // namespace short_memory
