// SPDX-License-Identifier: MIT
// Cancel comes from signal handlers and reads come thousands of times a page, so neither walks the list of opened
// devices. They look into pages of slots that are only ever added: a slot holds a handle or null, a page is complete
// before it is linked, and none is released before the library is unloaded. Tested by
// tests/sane/open_scanners_test.cpp.
#include "open_scanners.h"

#include <array>
#include <atomic>
#include <memory>
#include <utility>

namespace open_scanners {
namespace {

struct page {
    std::array<std::atomic<void *>, 16> slots{};
    std::atomic<page *> next{nullptr};
};

page first_page; // constant-initialised: there before any call can come

// The slot that holds a handle, or null when `scanner` is null; none when there is no such slot.
std::atomic<void *> *slot_of(const void *scanner) noexcept
{
    for (page *at = &first_page; at != nullptr; at = at->next.load(std::memory_order_acquire))
        for (auto &slot : at->slots)
            if (slot.load(std::memory_order_relaxed) == scanner)
                return &slot;
    return nullptr;
}

page &last_page() noexcept
{
    page *at = &first_page;
    while (page *const next = at->next.load(std::memory_order_relaxed))
        at = next;
    return *at;
}

} // namespace

void add(void *scanner)
{
    if (auto *const free_slot = slot_of(nullptr)) {
        free_slot->store(scanner, std::memory_order_relaxed);
        return;
    }
    auto added = std::make_unique<page>();
    added->slots.front().store(scanner, std::memory_order_relaxed);
    last_page().next.store(added.release(), std::memory_order_release);
}

void remove(void *scanner) noexcept
{
    if (auto *const slot = slot_of(scanner))
        slot->store(nullptr, std::memory_order_relaxed);
}

void release() noexcept
{
    page *at = first_page.next.exchange(nullptr);
    while (at != nullptr)
        delete std::exchange(at, at->next.load());
}

bool contains(const void *scanner) noexcept
{
    return scanner != nullptr && slot_of(scanner) != nullptr;
}

std::atomic<std::atomic<void *> *> found_last{first_page.slots.data()};

bool find(const void *scanner) noexcept
{
    auto *const slot = scanner != nullptr ? slot_of(scanner) : nullptr;
    if (slot != nullptr)
        found_last.store(slot, std::memory_order_relaxed);
    return slot != nullptr;
}

} // namespace open_scanners
