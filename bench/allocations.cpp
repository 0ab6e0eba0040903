// SPDX-License-Identifier: MIT
// The C library's allocator under its other names, behind functions that take the place of its usual ones for all
// libraries of the process.
#include "allocations.h"

#include <atomic>
#include <malloc.h>

extern "C" {
void *__libc_malloc(std::size_t size);                    // NOLINT(bugprone-reserved-identifier)
void *__libc_calloc(std::size_t count, std::size_t size); // NOLINT(bugprone-reserved-identifier)
void *__libc_realloc(void *block, std::size_t size);      // NOLINT(bugprone-reserved-identifier)
void __libc_free(void *block);                            // NOLINT(bugprone-reserved-identifier)
}

namespace {

std::atomic<std::size_t> made{0};
std::atomic<std::size_t> held{0};

void *counted(void *block)
{
    ++made;
    held += malloc_usable_size(block);
    return block;
}

} // namespace

std::size_t allocations_made()
{
    return made;
}

std::size_t bytes_held()
{
    return held;
}

#pragma GCC visibility push(default)
extern "C" {

void *malloc(std::size_t size)
{
    return counted(__libc_malloc(size));
}

void *calloc(std::size_t count, std::size_t size)
{
    return counted(__libc_calloc(count, size));
}

void *realloc(void *block, std::size_t size)
{
    const std::size_t earlier = malloc_usable_size(block);
    void *const moved = __libc_realloc(block, size);
    if (moved != nullptr)
        held -= earlier;
    return counted(moved);
}

void free(void *block)
{
    held -= malloc_usable_size(block);
    __libc_free(block);
}

} // extern "C"
#pragma GCC visibility pop
