// SPDX-License-Identifier: MIT
// What the parts of an option are called, and how its values are written.
// Tested by tests/tools/options_test.cpp.
#include "option.h"
#include "output.h"

#include <sane/sane.h>

#include <cstddef>
#include <fmt/format.h>
#include <string>
#include <vector>

namespace inspect {

namespace {

struct capability {
    SANE_Int bit;
    const char *word;
};

// Without "inactive", which is shown by itself.
constexpr capability capabilities_known[] = {
    {SANE_CAP_SOFT_SELECT, "soft-select"}, {SANE_CAP_HARD_SELECT, "hard-select"}, {SANE_CAP_SOFT_DETECT, "soft-detect"},
    {SANE_CAP_EMULATED, "emulated"},       {SANE_CAP_AUTOMATIC, "automatic"},     {SANE_CAP_ADVANCED, "advanced"},
};

constexpr const char *types[] = {"bool", "int", "fixed", "string", "button", "group"};
constexpr const char *units[] = {"none", "pixel", "bit", "mm", "dpi", "percent", "microsecond"};

template <std::size_t size> std::string word_at(const char *const (&words)[size], int index)
{
    return index >= 0 && index < static_cast<int>(size) ? words[index] : fmt::format("{}", index);
}

} // namespace

std::string type_text(SANE_Value_Type type)
{
    return word_at(types, type);
}

std::string unit_text(SANE_Unit unit)
{
    return word_at(units, unit);
}

std::vector<std::string> capability_words(SANE_Int capabilities)
{
    std::vector<std::string> words;
    for (const capability &each : capabilities_known)
        if ((capabilities & each.bit) != 0)
            words.emplace_back(each.word);
    return words;
}

std::string value_text(const json_value &value)
{
    if (value.is_null())
        return "-";
    if (value.is_string())
        return value.get<std::string>();
    return value.dump();
}

std::string constraint_text(const json_value &constraint)
{
    if (constraint.is_null())
        return "-";
    if (constraint.is_object())
        return fmt::format("{}..{}", value_text(constraint["min"]), value_text(constraint["max"])) +
               (constraint["step"] != 0 ? " step " + value_text(constraint["step"]) : "");
    std::string text;
    for (const json_value &value : constraint)
        text += (text.empty() ? "" : "|") + value_text(value);
    return text;
}

} // namespace inspect
