// SPDX-License-Identifier: MIT
// What an option may hold, and whether it fits: the constraint is in order, the default and the current value keep to
// it, and the size that the driver tells has room for them.
// Tested by tests/tools/lint_test.cpp.
#include "lint.h"
#include "local_utility.h"
#include "number_text.h"
#include "option_texts.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstddef>
#include <fmt/format.h>
#include <string>
#include <vector>

namespace inspect {

namespace {

bool is_number(const examined_option &option)
{
    return option.type == "int" || option.type == "float";
}

bool has_value(const examined_option &option)
{
    return option.type != "button" && option.type != "group";
}

bool has_bounds(const examined_option &option)
{
    return is_number(option) && option.description.find("range/min") != nullptr;
}

double number_at(const examined_option &option, const char *path)
{
    double number = 0;
    option.description.get_value(path, number);
    return number;
}

std::string text_at(const examined_option &option, const char *path)
{
    std::string text;
    option.description.get_value_as_string(path, text, option.type == "int");
    if (option.type == "string")
        local_utility::trans_language_if_was_word_id(text);
    return text;
}

bool allows(const examined_option &option, const char *path)
{
    if (has_bounds(option))
        return number_at(option, path) >= number_at(option, "range/min") &&
               number_at(option, path) <= number_at(option, "range/max");
    const std::vector<std::string> allowed = allowed_texts(option);
    if (allowed.empty())
        return true;
    if (!is_number(option))
        return std::find(allowed.begin(), allowed.end(), text_at(option, path)) != allowed.end();
    const double number = text_to_number(text_at(option, path).c_str()); // as exact as the listed texts
    return std::any_of(allowed.begin(), allowed.end(),
                       [number](const std::string &text) { return text_to_number(text.c_str()) == number; });
}

void lint_range(const examined_option &option, report &found)
{
    const bool has_range = option.description.find("range") != nullptr;
    if (option.type == "float" && !has_range)
        found.warning(option, "", "float-without-range",
                      "a \"float\" without a range is shown as a whole number, without its fraction");
    if (!has_range || !has_value(option))
        return;
    if (has_bounds(option) && number_at(option, "range/min") > number_at(option, "range/max"))
        found.error(option, "/range", "empty-range", "\"min\" is greater than \"max\"");
    else if (!has_bounds(option) && allowed_texts(option).empty())
        found.error(option, "/range", "empty-range", "neither bounds nor a list of values");
}

void lint_value(const examined_option &option, const char *key, report &found)
{
    if (option.description.find(key) == nullptr || !has_value(option) || allows(option, key))
        return;
    const std::string value = text_at(option, key);
    found.error(option, fmt::format("/{}", key), "value-out-of-range",
                fmt::format("{} is outside the option's own range", value.empty() ? "an empty text" : value));
}

std::size_t longest_word(const examined_option &option)
{
    std::size_t longest = 0;
    for (const std::string &text : allowed_texts(option))
        longest = std::max(longest, text.size());
    return longest;
}

// The backend delivers a text as the driver gives it, and whole: beyond what an application was told to make room for.
void lint_length(const examined_option &option, const char *key, int size, report &found)
{
    std::string text;
    option.description.get_value_as_string(key, text, false);
    if (text.size() >= static_cast<std::size_t>(size))
        found.error(option, fmt::format("/{}", key), "text-too-long",
                    fmt::format("{} bytes with the NUL, and the size is {}: applications are given more than they have "
                                "room for",
                                text.size() + 1, size));
}

void lint_size(const examined_option &option, report &found)
{
    if (!has_value(option))
        return;
    int size = 0;
    option.description.get_value("size", size);
    const std::size_t needed = option.type == "string" ? longest_word(option) + 1 : sizeof(SANE_Word);
    if (option.type == "string" && size > 0)
        for (const char *const key : {"default", "cur"})
            lint_length(option, key, size, found);
    if (size == 0)
        found.error(option, "/size", "no-size",
                    fmt::format("a \"{}\" without a size: applications take it for empty", option.type));
    else if (size < 0 || static_cast<std::size_t>(size) < needed)
        found.error(option, "/size", "size-too-small", fmt::format("{} bytes where {} are needed", size, needed));
}

} // namespace

std::vector<std::string> allowed_texts(const examined_option &option)
{
    std::vector<std::string> texts;
    if (!has_bounds(option) && option.description.find("range") != nullptr)
        texts = list_in(option.description, "range");
    for (std::string &text : texts)
        if (option.type == "string")
            local_utility::trans_language_if_was_word_id(text);
    return texts;
}

void lint_values(const examined_option &option, report &found)
{
    lint_range(option, found);
    lint_value(option, "default", found);
    lint_value(option, "cur", found);
    lint_size(option, found);
}

} // namespace inspect
