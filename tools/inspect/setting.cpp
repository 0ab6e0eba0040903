// SPDX-License-Identifier: MIT
// From NAME=VALUE to a value block in SANE's form, with just the room that the descriptor tells, since drivers adjust
// values in place, or that a longer value takes; and the difference that it made.
// Tested by tests/tools/set_test.cpp.
#include "setting.h"

#include "failure.h"
#include "option.h"
#include "output.h"
#include "sane_kx_mdw.h"
#include "sane_pelsane.h"
#include "scanner.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace inspect {

namespace {

using value_block = std::vector<char>;

std::optional<SANE_Word> bool_word(const std::string &text)
{
    for (const char *word : {"true", "yes", "on", "1"})
        if (text == word)
            return SANE_TRUE;
    for (const char *word : {"false", "no", "off", "0"})
        if (text == word)
            return SANE_FALSE;
    return std::nullopt;
}

std::optional<SANE_Word> int_word(const std::string &text)
{
    SANE_Word word = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, word);
    return error == std::errc() && stop == end ? std::optional(word) : std::nullopt;
}

std::optional<SANE_Word> fixed_word(const std::string &text)
{
    double number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number))
        return std::nullopt;
    return kx_sane_middleware::double_2_sane_fixed(number);
}

std::optional<SANE_Word> word_of(SANE_Value_Type type, const std::string &text)
{
    if (type == SANE_TYPE_BOOL)
        return bool_word(text);
    return type == SANE_TYPE_FIXED ? fixed_word(text) : int_word(text);
}

// The value in SANE's form, zero-filled up to the option's size.
value_block block_of(const option &target, const std::string &text)
{
    const auto size = static_cast<std::size_t>(std::max(target.size, 0));
    value_block block(std::max(size, target.type == SANE_TYPE_STRING ? text.size() + 1 : sizeof(SANE_Word)));
    if (target.type == SANE_TYPE_STRING) {
        std::memcpy(block.data(), text.data(), text.size());
        return block;
    }
    const auto word = word_of(target.type, text);
    if (!word)
        throw failure(exit_status::usage,
                      fmt::format("{}: \"{}\" is no value of the type {}", target.name, text, type_text(target.type)));
    std::memcpy(block.data(), &*word, sizeof(*word));
    return block;
}

// An option that can only be read is refused; access that is denied is something else.
void require_accepted(const scanner &device, SANE_Status status, const std::string &tried)
{
    if (status == SANE_STATUS_ACCESS_DENIED)
        throw failure(exit_status::refused, fmt::format("{}: {}: {}", device.name(), tried, text_of(status)));
    device.check(status, tried);
}

} // namespace

setting setting_of(const std::string &assignment)
{
    const auto sign = assignment.find('=');
    if (sign == std::string::npos || sign == 0)
        throw failure(exit_status::usage, fmt::format("\"{}\" is no NAME=VALUE", assignment));
    return {assignment.substr(0, sign), assignment.substr(sign + 1)};
}

setting_outcome apply(const scanner &device, const std::vector<option> &options, const setting &wanted)
{
    const option &target = option_named(options, wanted.name);
    if (target.is_group())
        throw failure(exit_status::refused, fmt::format("{}: a group has no value", target.name));
    SANE_Int info = 0;
    if (target.type == SANE_TYPE_BUTTON) {
        const SANE_Status status =
            sane_pelsane_control_option(device.handle(), target.number, SANE_ACTION_SET_VALUE, nullptr, &info);
        require_accepted(device, status, target.name);
        return {target.name, nullptr, nullptr, info};
    }
    value_block block = block_of(target, wanted.value);
    const json_value asked = value_in_json(target.type, block.data(), block.size());
    const SANE_Status status =
        sane_pelsane_control_option(device.handle(), target.number, SANE_ACTION_SET_VALUE, block.data(), &info);
    require_accepted(device, status, fmt::format("{}={}", target.name, wanted.value));
    return {target.name, asked, value_in_json(target.type, block.data(), block.size()), info};
}

void apply_all(const scanner &device, const std::vector<std::string> &assignments)
{
    for (const std::string &assignment : assignments)
        apply(device, read_options(device), setting_of(assignment));
}

std::vector<change> changes_between(const std::vector<option> &before, const std::vector<option> &after)
{
    const auto with_name = [](const std::vector<option> &options, const std::string &name) {
        return std::find_if(options.begin(), options.end(), [&name](const option &each) { return each.name == name; });
    };
    std::vector<change> changes;
    for (const option &old_one : before) {
        const auto new_one = with_name(after, old_one.name);
        if (new_one == after.end()) {
            changes.push_back({old_one.name, "exists", true, false});
            continue;
        }
        const json_value old_fields = as_json(old_one);
        const json_value new_fields = as_json(*new_one);
        for (const auto &[field, value] : old_fields.items())
            if (new_fields[field] != value)
                changes.push_back({old_one.name, field, value, new_fields[field]});
    }
    for (const option &new_one : after)
        if (with_name(before, new_one.name) == before.end())
            changes.push_back({new_one.name, "exists", false, true});
    return changes;
}

} // namespace inspect
