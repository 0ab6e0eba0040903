// SPDX-License-Identifier: MIT
// The bytes of one execution, read from front to back. What is used up reads as zeros and empty texts, so that every
// input means something.
#ifndef PELSANE_FUZZ_INPUT_H
#define PELSANE_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

class input {
public:
    input(const std::uint8_t *data, std::size_t size) : left_(reinterpret_cast<const char *>(data), size) {}

    [[nodiscard]] bool is_used_up() const { return left_.empty(); }

    // Up to a line end, which goes with it, and never beyond a NUL: the texts of the interfaces are C's.
    std::string line()
    {
        const std::string_view taken = take(std::min(left_.find('\n'), left_.size()));
        take(1);
        return std::string(taken.substr(0, taken.find('\0')));
    }

    std::string rest()
    {
        const std::string_view taken = take(left_.size());
        return std::string(taken.substr(0, taken.find('\0')));
    }

    template <typename Number> Number number()
    {
        Number value{};
        const std::string_view taken = take(sizeof(value));
        std::copy(taken.begin(), taken.end(), reinterpret_cast<char *>(&value)); // there may be none, and nowhere
        return value;
    }

    unsigned int byte() { return number<std::uint8_t>(); }

    // Below `end`, which is at most 256.
    std::size_t index(std::size_t end) { return end != 0 ? byte() % end : 0; }

    template <typename Table> const auto &pick(const Table &table) { return table[index(std::size(table))]; }

private:
    std::string_view take(std::size_t size)
    {
        const std::string_view taken = left_.substr(0, size);
        left_.remove_prefix(taken.size());
        return taken;
    }

    std::string_view left_;
};

// What libFuzzer and replay.cpp call.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

#endif
