// SPDX-License-Identifier: MIT
// Condition texts in, yes or no out. The scanner decides for itself which of its options apply, by the same texts that
// it hands to the application's side: after a change that makes the application read all options afresh no notice
// comes, and the scanner must not wait for one.
#include "dependency.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

namespace virtual_scanner {

namespace {

// Longest spelling first, so that ">=" is not taken for ">".
constexpr std::pair<std::string_view, comparison> operators[] = {
    {"==[", comparison::between},  {"!=[", comparison::not_between}, {"==", comparison::equal},
    {"!=", comparison::not_equal}, {">=", comparison::not_less},     {">", comparison::great},
    {"<=", comparison::not_great}, {"<", comparison::less},
};

bool is_name_character(char c)
{
    return (c >= 'a' && c <= 'z') || c == '-';
}

void skip_spaces(std::string_view &text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
}

bool split_range(std::string_view operand, condition &result)
{
    const std::string_view inside = operand.substr(0, operand.find(']'));
    const auto comma = inside.find(',');
    if (inside.size() == operand.size() || comma == std::string_view::npos)
        return false;
    result.limit = inside.substr(0, comma);
    result.upper = inside.substr(comma + 1);
    return true;
}

double number(std::string_view text)
{
    skip_spaces(text);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

} // namespace

std::optional<condition> parse_condition(std::string_view text)
{
    condition result;
    skip_spaces(text);
    const auto end = std::find_if_not(text.begin(), text.end(), is_name_character);
    result.master.assign(text.begin(), end);
    text.remove_prefix(result.master.size());
    skip_spaces(text);
    for (const auto &[spelling, test] : operators) {
        if (text.substr(0, spelling.size()) != spelling)
            continue;
        result.test = test;
        text.remove_prefix(spelling.size());
        if (spelling.back() == '[')
            return split_range(text, result) ? std::optional(result) : std::nullopt;
        result.limit = text;
        return result;
    }
    return std::nullopt;
}

bool holds(const condition &condition, const std::string &value)
{
    const auto between = [&] {
        return number(condition.limit) < number(value) && number(value) < number(condition.upper);
    };
    switch (condition.test) {
    case comparison::equal:
        return value == condition.limit;
    case comparison::not_equal:
        return value != condition.limit;
    case comparison::less:
        return number(value) < number(condition.limit);
    case comparison::not_less:
        return number(value) >= number(condition.limit);
    case comparison::great:
        return number(value) > number(condition.limit);
    case comparison::not_great:
        return number(value) <= number(condition.limit);
    case comparison::between:
        return between();
    case comparison::not_between:
        return !between();
    }
    return false;
}

bool is_satisfied(const dependency &depends, const master_value &value_of)
{
    const auto is_met = [&](const condition &condition) {
        const auto value = value_of(condition.master);
        return value && holds(condition, *value);
    };
    const auto &conditions = depends.conditions;
    return depends.all ? std::all_of(conditions.begin(), conditions.end(), is_met)
                       : std::any_of(conditions.begin(), conditions.end(), is_met);
}

} // namespace virtual_scanner
