// SPDX-License-Identifier: MIT
// A text of commands as words that know where they stand, so that every complaint names the place.
#ifndef PELSANE_VIRTUAL_COMMAND_WORDS_H
#define PELSANE_VIRTUAL_COMMAND_WORDS_H

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace virtual_scanner {

// One command's words. `text` is the whole text, of which the words are parts.
class command_words {
public:
    command_words(std::string_view text, std::vector<std::string_view> words, std::string_view end)
        : text_(text), words_(std::move(words)), end_(end)
    {
    }

    // At the command's first word, at the one that was taken last, at the one that comes next.
    [[noreturn]] void fail_at_start(const std::string &reason) const;
    [[noreturn]] void fail_at_last(const std::string &reason) const;
    [[noreturn]] void fail_at_next(const std::string &expected) const;

    bool is_at_end() const { return next_ == words_.size(); }
    std::string_view take(const char *expected);

    // Takes the words when they come next, all or none of them.
    bool accept(std::initializer_list<std::string_view> words);
    void expect(std::string_view word);

    // A decimal number within the bounds.
    int number(int min, int max, const char *expected);
    // A decimal or "0x" number.
    int code(const char *expected);
    bool is_number_next() const;

    // "500 ms" or "2 s", up to an hour.
    std::chrono::milliseconds time();

    // The entry of a table (`name` and whatever else) whose name comes next.
    template <typename Table> const auto &one_of(const Table &table, const char *expected)
    {
        const auto found = std::find_if(std::begin(table), std::end(table),
                                        [&](const auto &entry) { return !is_at_end() && entry.name == words_[next_]; });
        if (found == std::end(table))
            fail_at_next(expected);
        ++next_;
        return *found;
    }

private:
    std::string place_of(std::string_view word) const;

    std::string_view text_;
    std::vector<std::string_view> words_;
    std::string_view end_; // where the command ends
    std::size_t next_ = 0;
};

// The commands of a text, those without a word left out.
std::vector<command_words> split_commands(std::string_view text);

} // namespace virtual_scanner

#endif
