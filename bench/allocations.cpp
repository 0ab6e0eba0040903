// SPDX-License-Identifier: MIT
// The C library's allocator under its other names, behind functions that take the place of its usual ones for all
// libraries of the process. A block counts with the room that its size needs. What it got may be 16 bytes more, where a
// rest would have been too small to be a block, and that changes with what was freed before; so the size that was asked
// for is kept at the block's end.
#include "allocations.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <malloc.h>

extern "C" {
void *__libc_malloc(std::size_t size);                    // NOLINT(bugprone-reserved-identifier)
void *__libc_calloc(std::size_t count, std::size_t size); // NOLINT(bugprone-reserved-identifier)
void *__libc_realloc(void *block, std::size_t size);      // NOLINT(bugprone-reserved-identifier)
void __libc_free(void *block);                            // NOLINT(bugprone-reserved-identifier)
}

namespace {

constexpr std::size_t size_room = sizeof(std::size_t);

std::atomic<std::size_t> made{0};
std::atomic<std::size_t> held{0};

// What a block of a size takes in the C library: multiples of 16, of which 8 bytes are the allocator's.
std::size_t room_for(std::size_t size)
{
    constexpr std::size_t least = 24;
    return std::max(least, ((size + 8 + 15) & ~std::size_t{15}) - 8);
}

std::size_t &size_of(void *block)
{
    return *reinterpret_cast<std::size_t *>(static_cast<char *>(block) + malloc_usable_size(block) - size_room);
}

void *counted(void *block, std::size_t size)
{
    if (block == nullptr)
        return nullptr;
    size_of(block) = size;
    ++made;
    held += room_for(size);
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
    return counted(__libc_malloc(size + size_room), size);
}

void *calloc(std::size_t count, std::size_t size)
{
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes))
        return nullptr;
    return counted(__libc_calloc(bytes + size_room, 1), bytes);
}

void *realloc(void *block, std::size_t size)
{
    const std::size_t earlier = block != nullptr ? room_for(size_of(block)) : 0;
    void *const moved = __libc_realloc(block, size + size_room);
    if (moved != nullptr)
        held -= earlier;
    return counted(moved, size);
}

void free(void *block)
{
    if (block != nullptr)
        held -= room_for(size_of(block));
    __libc_free(block);
}

} // extern "C"
#pragma GCC visibility pop
