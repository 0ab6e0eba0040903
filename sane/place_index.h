// SPDX-License-Identifier: MIT
// Finds in a list what a search from its front would find, without the search: a hash table of the places of the
// elements, by a member of theirs, with the first of equal ones. The list only grows between clears, and its elements
// keep this member. What was appended is taken into the index by the next look-up, so that whoever appends need not
// know of it. Tested by tests/sane/place_index_test.cpp.
#ifndef PELSANE_PLACE_INDEX_H
#define PELSANE_PLACE_INDEX_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

template <typename Element, auto Key> class place_index {
public:
    // The first element with a key, null when there is none.
    template <typename Value> Element *find(std::vector<Element> &list, const Value &key)
    {
        catch_up(list);
        if (slots_.empty())
            return nullptr;
        const slot place = slots_[slot_of(list, key)];
        return place != free ? &list[place - 1] : nullptr;
    }

    void clear()
    {
        slots_.clear();
        indexed_ = 0;
    }

private:
    using slot = std::uint32_t; // a place plus 1
    static constexpr slot free = 0;
    static constexpr std::size_t first_size = 16; // sizes are powers of 2

    static std::size_t hash_of(int key) { return static_cast<std::size_t>(key); }
    static std::size_t hash_of(std::string_view key) { return std::hash<std::string_view>()(key); }

    // Where a key is, or where it would be put.
    template <typename Value> std::size_t slot_of(const std::vector<Element> &list, const Value &key) const
    {
        const std::size_t mask = slots_.size() - 1;
        std::size_t at = hash_of(key) & mask;
        while (slots_[at] != free && list[slots_[at] - 1].*Key != key)
            at = (at + 1) & mask;
        return at;
    }

    void catch_up(const std::vector<Element> &list)
    {
        if (indexed_ == list.size())
            return;
        if (list.size() * 4 > slots_.size() * 3)
            make_room(list.capacity()); // a list that was given room is going to fill it
        for (; indexed_ < list.size(); ++indexed_) {
            slot &place = slots_[slot_of(list, list[indexed_].*Key)];
            if (place == free)
                place = static_cast<slot>(indexed_ + 1);
        }
    }

    void make_room(std::size_t elements)
    {
        std::size_t size = first_size;
        while (size * 3 < elements * 4)
            size *= 2;
        slots_.assign(size, free);
        indexed_ = 0;
    }

    std::vector<slot> slots_;
    std::size_t indexed_ = 0; // elements from the list's front that are in the index
};

#endif
