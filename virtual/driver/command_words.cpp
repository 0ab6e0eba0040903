// SPDX-License-Identifier: MIT
// Text to words. Parentheses are words of their own, but a device's name, after "on", goes up to the next space.
// Tested by command_test.
#include "command_words.h"

#include "command.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace virtual_scanner {

namespace {

constexpr std::string_view separators = ";\n";
constexpr std::string_view spaces = " \t\r";
constexpr std::string_view ends_of_name = " \t\r;\n";
constexpr std::string_view ends_of_word = " \t\r;\n()";

bool is_one_of(char character, std::string_view characters)
{
    return characters.find(character) != std::string_view::npos;
}

// The length of the word at the text's beginning; `before` are the command's words so far.
std::size_t word_length(std::string_view text, const std::vector<std::string_view> &before)
{
    if (is_one_of(text.front(), "()"))
        return 1;
    const bool is_name = before.size() == 1 && before.front() == "on";
    const std::size_t end = text.find_first_of(is_name ? ends_of_name : ends_of_word);
    return end == std::string_view::npos ? text.size() : end;
}

// The number that the whole word is, false when it is none.
bool parse_number(std::string_view word, int base, int &number)
{
    const char *const begin = word.data();
    const char *const end = begin + word.size();
    const auto parsed = std::from_chars(begin, end, number, base);
    return parsed.ec == std::errc() && parsed.ptr == end;
}

// As much of a word as fits in a message, without what would disturb a line of text.
std::string shown(std::string_view word)
{
    constexpr std::size_t longest = 40;
    std::string text(word.substr(0, longest));
    std::replace_if(text.begin(), text.end(), [](unsigned char each) { return each < 0x20 || each == 0x7f; }, '?');
    return '"' + text + (word.size() > longest ? "\"..." : "\"");
}

} // namespace

std::string command_words::place_of(std::string_view word) const
{
    const std::string_view before = text_.substr(0, static_cast<std::size_t>(word.data() - text_.data()));
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t line_end = before.rfind('\n');
    const std::size_t column = before.size() - (line_end == std::string_view::npos ? 0 : line_end + 1) + 1;
    return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": ";
}

void command_words::fail_at_start(const std::string &reason) const
{
    throw command_error(place_of(words_.front()) + reason);
}

void command_words::fail_at_last(const std::string &reason) const
{
    throw command_error(place_of(words_[next_ - 1]) + reason);
}

void command_words::fail_at_next(const std::string &expected) const
{
    const std::string_view found = is_at_end() ? end_ : words_[next_];
    throw command_error(place_of(found) + expected + " is expected and not " +
                        (is_at_end() ? "the command's end" : shown(found)));
}

std::string_view command_words::take(const char *expected)
{
    if (is_at_end())
        fail_at_next(expected);
    return words_[next_++];
}

bool command_words::accept(std::initializer_list<std::string_view> words)
{
    if (words_.size() - next_ < words.size() ||
        !std::equal(words.begin(), words.end(), words_.begin() + static_cast<std::ptrdiff_t>(next_)))
        return false;
    next_ += words.size();
    return true;
}

void command_words::expect(std::string_view word)
{
    if (!accept({word}))
        fail_at_next("\"" + std::string(word) + "\"");
}

bool command_words::is_number_next() const
{
    return !is_at_end() && words_[next_].front() >= '0' && words_[next_].front() <= '9';
}

int command_words::number(int min, int max, const char *expected)
{
    if (!is_number_next())
        fail_at_next(expected);
    int number = 0;
    if (!parse_number(words_[next_++], 10, number) || number < min || number > max)
        fail_at_last("a number from " + std::to_string(min) + " to " + std::to_string(max) + " is expected");
    return number;
}

int command_words::code(const char *expected)
{
    if (!is_number_next())
        fail_at_next(expected);
    const std::string_view word = words_[next_++];
    const bool is_hex = word.substr(0, 2) == "0x";
    int number = 0;
    if (!parse_number(is_hex ? word.substr(2) : word, is_hex ? 16 : 10, number) || number < 0)
        fail_at_last("a number up to 0x7FFFFFFF is expected");
    return number;
}

std::chrono::milliseconds command_words::time()
{
    constexpr int hour_ms = 3600000;
    const int amount = number(0, hour_ms, "a time");
    const bool is_seconds = accept({"s"});
    if (!is_seconds)
        if (!accept({"ms"}))
            fail_at_next("\"ms\" or \"s\"");
    if (is_seconds && amount > hour_ms / 1000)
        fail_at_last("a time of up to an hour is expected");
    return std::chrono::milliseconds(is_seconds ? amount * 1000 : amount);
}

std::vector<command_words> split_commands(std::string_view text)
{
    std::vector<command_words> commands;
    std::vector<std::string_view> words;
    for (std::size_t at = 0; at <= text.size();) {
        if (at == text.size() || is_one_of(text[at], separators)) {
            if (!words.empty())
                commands.emplace_back(text, std::exchange(words, {}), text.substr(at, 0));
            ++at;
        } else if (is_one_of(text[at], spaces)) {
            ++at;
        } else if (text[at] == '#') {
            at = std::min(text.find('\n', at), text.size());
        } else {
            words.push_back(text.substr(at, word_length(text.substr(at), words)));
            at += words.back().size();
        }
    }
    return commands;
}

} // namespace virtual_scanner
