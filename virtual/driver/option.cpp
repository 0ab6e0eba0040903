// SPDX-License-Identifier: MIT
// Small facts about options: their well-known identifiers and the text form in which conditions test their values.
#include "option.h"

#include "option_ids.h"
#include "text_value.h"

#include <array>
#include <charconv>
#include <string>
#include <variant>

namespace virtual_scanner {

namespace {

std::string fixed_text(double number)
{
    // Six decimals whatever locale the application has set; the longest double takes 309 digits before the point.
    std::array<char, 330> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 6).ptr;
    return {text.data(), end};
}

} // namespace

int well_known_id(const option_definition &option)
{
    if (option.fix_id)
        return *option.fix_id;
    for (const well_known_option &known : well_known_options)
        if (known.name == option.name)
            return known.id;
    return 0;
}

double as_number(const option_value &value)
{
    const int *integer = std::get_if<int>(&value);
    return integer != nullptr ? *integer : std::get<double>(value);
}

std::string to_condition_text(const option_value &value)
{
    if (const bool *flag = std::get_if<bool>(&value))
        return *flag ? "true" : "false";
    if (const int *number = std::get_if<int>(&value))
        return std::to_string(*number);
    if (const double *number = std::get_if<double>(&value))
        return fixed_text(*number);
    if (const text_value *word = std::get_if<text_value>(&value))
        return *word;
    return {};
}

} // namespace virtual_scanner
