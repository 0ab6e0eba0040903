// SPDX-License-Identifier: MIT
// When an option is active: conditions on the current values of other options, as they stand in the profile.
#ifndef PELSANE_VIRTUAL_DEPENDENCY_H
#define PELSANE_VIRTUAL_DEPENDENCY_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace virtual_scanner {

enum class comparison { equal, not_equal, less, not_less, great, not_great, between, not_between };

struct condition {
    std::string master; // empty in a text without a name: the master of the condition before it
    comparison test = comparison::equal;
    std::string limit;
    std::string upper; // of a range alone
};

struct dependency {
    bool all = false; // every condition has to hold, else one of them
    std::vector<std::string> texts;
    std::vector<condition> conditions;
};

// A condition such as "mode==Gray", "resolution>=300", "==[75,300]"; none when the text is malformed.
std::optional<condition> parse_condition(std::string_view text);

// Numbers compare as numbers, a range leaves its limits out, and == and != compare the texts byte by byte.
bool holds(const condition &condition, const std::string &value);

// The value of a master as text, none while the master is inactive (which fails a condition).
using master_value = std::function<std::optional<std::string>(const std::string &name)>;

bool is_satisfied(const dependency &depends, const master_value &value_of);

} // namespace virtual_scanner

#endif
