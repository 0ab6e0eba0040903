// SPDX-License-Identifier: MIT
// Options read through the backend: descriptors by number as an application has them, values and defaults as blocks of
// the backend's. A driver's text may be longer than its option's size; an application's buffer, which has that size,
// would be overrun, and this program is there to look at such drivers. A value that cannot be read is no value; only a
// scanner that has gone ends the reading. Tested by tests/tools/options_test.cpp and long_texts_test.cpp.
#include "option.h"

#include "failure.h"
#include "option_key.h"
#include "output.h"
#include "sane_kx_mdw.h"
#include "sane_pelsane.h"
#include "scanner.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <string>
#include <utility>
#include <vector>

namespace inspect {

namespace {

constexpr int most_added_options = 16;           // far more than the backend adds
constexpr int most_bytes_of_value = 1024 * 1024; // a driver that tells more has no value, and takes no memory

int driver_option_count(const scanner &device)
{
    SANE_Word count = 0;
    device.check(sane_pelsane_control_option(device.handle(), 0, SANE_ACTION_GET_VALUE, &count, nullptr),
                 "the number of options");
    return count;
}

// A fixed-point number without the noise of its last bits.
double rounded(SANE_Fixed word)
{
    return std::round(SANE_UNFIX(word) * 10000) / 10000;
}

json_value word_in_json(SANE_Value_Type type, SANE_Word word)
{
    if (type == SANE_TYPE_BOOL)
        return word != SANE_FALSE;
    if (type == SANE_TYPE_FIXED)
        return rounded(word);
    return word;
}

json_value range_in_json(SANE_Value_Type type, const SANE_Range &range)
{
    return {{"min", word_in_json(type, range.min)},
            {"max", word_in_json(type, range.max)},
            {"step", word_in_json(type, range.quant)}};
}

json_value constraint_in_json(const SANE_Option_Descriptor &descriptor)
{
    json_value list = json_value::array();
    switch (descriptor.constraint_type) {
    case SANE_CONSTRAINT_RANGE:
        return range_in_json(descriptor.type, *descriptor.constraint.range);
    case SANE_CONSTRAINT_WORD_LIST:
        for (SANE_Word at = 1; at <= descriptor.constraint.word_list[0]; ++at)
            list.push_back(word_in_json(descriptor.type, descriptor.constraint.word_list[at]));
        return list;
    case SANE_CONSTRAINT_STRING_LIST:
        for (const auto *text = descriptor.constraint.string_list; *text != nullptr; ++text)
            list.push_back(*text);
        return list;
    default:
        return nullptr;
    }
}

json_value current_value(const scanner &device, const option &described)
{
    if (!described.has_value() || described.well_known)
        return nullptr; // the backend does not read the values of those that it adds
    if (described.size > most_bytes_of_value || device.is_gone())
        return nullptr;
    SANE_Value_Type type = described.type;
    const auto block = kx_sane_middleware::instance()->get_cur_value(device.handle(),
                                                                     option_key::from_number(described.number), &type);
    if (block == nullptr)
        return nullptr;
    const std::size_t size =
        type == SANE_TYPE_STRING ? std::strlen(static_cast<const char *>(block.get())) : sizeof(SANE_Word);
    return value_in_json(type, block.get(), size);
}

json_value default_value(const scanner &device, const option &described)
{
    if (!described.has_value())
        return nullptr;
    int bytes = 0;
    const auto block = kx_sane_middleware::instance()->get_def_value(
        device.handle(), option_key::from_number(described.number), &bytes, false);
    if (block == nullptr)
        return nullptr;
    // The backend counts the bytes of the driver's defaults only; those that it adds are words.
    return value_in_json(described.type, block.get(),
                         described.well_known ? sizeof(SANE_Word) : static_cast<std::size_t>(std::max(bytes, 0)));
}

// Action 101 would say the same, but is no value of SANE's type of actions.
int fixed_id(const scanner &device, int number)
{
    int id = 0;
    kx_sane_middleware::instance()->find_stored_descriptor(device.driver_handle(), option_key::from_number(number),
                                                           nullptr, &id);
    return id;
}

option read_option(const scanner &device, const SANE_Option_Descriptor &descriptor, int number, bool well_known)
{
    option read{number,
                descriptor.name,
                fixed_id(device, number),
                descriptor.title,
                descriptor.desc,
                {},
                descriptor.type,
                descriptor.unit,
                descriptor.size,
                descriptor.cap,
                constraint_in_json(descriptor),
                nullptr,
                nullptr,
                well_known};
    read.current = current_value(device, read);
    read.default_value = default_value(device, read);
    return read;
}

} // namespace

std::vector<option> read_options(const scanner &device)
{
    std::vector<option> options;
    std::string group;
    const int count = driver_option_count(device);
    for (int number = 1; number < count + most_added_options; ++number) {
        const auto *descriptor = sane_pelsane_get_option_descriptor(device.handle(), number);
        if (descriptor == nullptr && number >= count)
            break;
        if (descriptor == nullptr)
            continue;
        option read = read_option(device, *descriptor, number, number >= count);
        if (read.is_group())
            group = read.name;
        else if (!read.well_known)
            read.group = group;
        options.push_back(std::move(read));
    }
    if (device.is_gone())
        device.check(SANE_STATUS_IO_ERROR, "reading the options");
    return options;
}

const option &option_named(const std::vector<option> &options, const std::string &given)
{
    using meaning = bool (*)(const option &, const std::string &);
    constexpr meaning meanings[] = {
        [](const option &each, const std::string &text) { return each.name == text; },
        [](const option &each, const std::string &text) { return std::to_string(each.number) == text; },
        [](const option &each, const std::string &text) {
            return each.fixed_id != 0 && std::to_string(each.fixed_id) == text;
        },
    };
    for (const meaning is_meant : meanings)
        for (const option &each : options)
            if (is_meant(each, given))
                return each;
    throw failure(exit_status::no_option, fmt::format("there is no option \"{}\"", given));
}

json_value value_in_json(SANE_Value_Type type, const void *value, std::size_t size)
{
    if (type == SANE_TYPE_STRING) {
        const auto *const text = static_cast<const char *>(value);
        return std::string(text, ::strnlen(text, size));
    }
    SANE_Word word = 0;
    std::memcpy(&word, value, sizeof(word));
    return word_in_json(type, word);
}

json_value as_json(const option &described)
{
    return {{"number", described.number},
            {"name", described.name},
            {"id", described.fixed_id != 0 ? json_value(described.fixed_id) : json_value()},
            {"title", described.title},
            {"description", described.description},
            {"group", described.group.empty() ? json_value() : json_value(described.group)},
            {"type", type_text(described.type)},
            {"unit", unit_text(described.unit)},
            {"size", described.size},
            {"constraint", described.constraint},
            {"capabilities", capability_words(described.capabilities)},
            {"active", described.is_active()},
            {"well-known", described.well_known},
            {"current", described.current},
            {"default", described.default_value}};
}

} // namespace inspect
