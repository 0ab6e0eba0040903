// SPDX-License-Identifier: MIT
// This executable's allocation functions take the place of everybody's, since the loader finds them first. They hand on
// to the C library's, or to a sanitizer's where there is one. They run before anything is initialised, so nothing here
// needs that, and the file is compiled without sanitizers.
#include "memory.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void __libc_free(void *block);

[[gnu::weak]] void *__interceptor_malloc(std::size_t size);
[[gnu::weak]] void *__interceptor_calloc(std::size_t count, std::size_t size);
[[gnu::weak]] void *__interceptor_realloc(void *block, std::size_t size);
[[gnu::weak]] void __interceptor_free(void *block);
}

namespace faulty_memory {
namespace {

constexpr std::size_t largest = std::size_t{1} << 30;
constexpr std::size_t never = static_cast<std::size_t>(-1);

struct state {
    std::size_t planned = never;
    shortage planned_kind = shortage::single;
    std::size_t made = 0;
    bool has_failed = false;
    bool is_short = false; // a lasting shortage has begun
    source failed = source::count;
    long blocks = 0;
};
state the_state;
thread_local bool is_inside = false;
bool is_c_counted = true;

// Counts an allocation of the backend; false when it is to fail.
bool admits(source from, std::size_t size)
{
    if (!is_inside || (from != source::operator_new && !is_c_counted))
        return true;
    state &s = the_state;
    const bool is_due = s.made++ == s.planned;
    if (is_due) {
        s.has_failed = true;
        s.failed = from;
        s.is_short = s.planned_kind == shortage::lasting;
    }
    if (!is_due && !s.is_short && size <= largest)
        return true;
    errno = ENOMEM;
    return false;
}

void *counted(void *block)
{
    if (is_inside && block != nullptr)
        ++the_state.blocks;
    return block;
}

void *allocate(source from, std::size_t size)
{
    if (!admits(from, size))
        return nullptr;
    return counted(__interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size));
}

void *allocate_object(std::size_t size)
{
    return allocate(source::operator_new, size != 0 ? size : 1);
}

void *allocate_object_or_throw(std::size_t size)
{
    void *const block = allocate_object(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void release(void *block)
{
    if (is_inside && block != nullptr)
        --the_state.blocks;
    if (__interceptor_free != nullptr)
        __interceptor_free(block);
    else
        __libc_free(block);
}

} // namespace

inside::inside()
{
    is_inside = true;
}

inside::~inside()
{
    is_inside = false;
    the_state.is_short = false;
}

outside::outside() : was_inside_(is_inside)
{
    is_inside = false;
}

outside::~outside()
{
    is_inside = was_inside_;
}

void reset()
{
    const long blocks = the_state.blocks;
    the_state = state();
    the_state.blocks = blocks;
}

void fail(std::size_t nth, shortage kind)
{
    the_state.planned = nth;
    the_state.planned_kind = kind;
}

void count_c_libraries(bool is_wanted)
{
    is_c_counted = is_wanted;
}

std::size_t made()
{
    return the_state.made;
}

bool has_failed()
{
    return the_state.has_failed;
}

source failed_source()
{
    return the_state.failed;
}

long blocks()
{
    return the_state.blocks;
}

const char *name_of(source which)
{
    constexpr const char *names[] = {"malloc", "calloc", "realloc", "operator new"};
    return names[static_cast<std::size_t>(which)];
}

} // namespace faulty_memory

using namespace faulty_memory;

extern "C" {

void *malloc(std::size_t size)
{
    return allocate(source::malloc, size);
}

void *calloc(std::size_t count, std::size_t size)
{
    if (!admits(source::calloc, size != 0 && count > largest / size ? largest + 1 : count * size))
        return nullptr;
    return counted(__interceptor_calloc != nullptr ? __interceptor_calloc(count, size) : __libc_calloc(count, size));
}

void *realloc(void *block, std::size_t size)
{
    if (!admits(source::realloc, size))
        return nullptr;
    void *const moved =
        __interceptor_realloc != nullptr ? __interceptor_realloc(block, size) : __libc_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}

void free(void *block)
{
    release(block);
}

} // extern "C"

void *operator new(std::size_t size)
{
    return allocate_object_or_throw(size);
}

void *operator new[](std::size_t size)
{
    return allocate_object_or_throw(size);
}

void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return allocate_object(size);
}

void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    return allocate_object(size);
}

void operator delete(void *block) noexcept
{
    release(block);
}

void operator delete[](void *block) noexcept
{
    release(block);
}

void operator delete(void *block, std::size_t) noexcept
{
    release(block);
}

void operator delete[](void *block, std::size_t) noexcept
{
    release(block);
}

void operator delete(void *block, const std::nothrow_t &) noexcept
{
    release(block);
}

void operator delete[](void *block, const std::nothrow_t &) noexcept
{
    release(block);
}
