// SPDX-License-Identifier: MIT
// Option keys to options and information items. No key is followed as an address that cannot be one.
#include "option_key.h"

#include "information.h"
#include "option_ids.h"
#include "option_store.h"

#include <cstdint>
#include <string_view>

namespace virtual_scanner {

namespace {

option_key resolve_number(int number, const option_store &options)
{
    option_key key;
    key.is_number = true;
    key.number = number;
    key.is_count = number == 0;
    if (number <= SANE_OPTION_ID_BASE) {
        key.is_option = number > 0 && number < options.count();
        return key;
    }
    if (const int found = options.find_by_well_known_id(number); found != 0) {
        key.is_option = true;
        key.number = found;
    } else {
        key.item = find_information_item(number);
    }
    return key;
}

bool is_number(std::intptr_t key)
{
    return key >= 0 && key < 0x10000;
}

} // namespace

bool names_driver_log(const void *key)
{
    constexpr int number_of_log = 39171;
    const auto value = reinterpret_cast<std::intptr_t>(key);
    if (value < 0 || is_number(value))
        return value == number_of_log;
    return std::string_view(static_cast<const char *>(key)) == "drv-log";
}

option_key resolve(const void *key, const option_store &options)
{
    const auto value = reinterpret_cast<std::intptr_t>(key);
    if (is_number(value))
        return resolve_number(static_cast<int>(value), options);
    option_key named;
    if (value < 0)
        return named;
    const char *name = static_cast<const char *>(key);
    named.number = options.find_by_name(name);
    named.is_option = named.number != 0;
    if (!named.is_option)
        named.item = find_information_item(std::string_view(name));
    return named;
}

} // namespace virtual_scanner
