// SPDX-License-Identifier: MIT
// Information items as bytes. What an item is follows from its length: 1, 4 and 8 bytes are integers, 1312 bytes the
// gamma table (a block without a meaning to this device), everything else a text. Tested by driver_information_test.
#include "information.h"

#include "kx_scanner.h"
#include "option_ids.h"
#include "profile.h"
#include "text_value.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <variant>

namespace virtual_scanner {

namespace {

bool is_text(const information_item &item)
{
    return !is_number(item) && item.length != 1312;
}

template <typename Integer> std::string integer_bytes(long long value)
{
    const auto integer = static_cast<Integer>(value);
    std::string bytes(sizeof integer, '\0');
    std::memcpy(bytes.data(), &integer, sizeof integer);
    return bytes;
}

std::string initial_bytes(const information_item &item, const information_value &value)
{
    if (const auto *text = std::get_if<text_value>(&value.value)) {
        std::string bytes = *text + '\0';
        bytes.resize(is_text(item) ? bytes.size() : static_cast<std::size_t>(item.length), '\0');
        return bytes;
    }
    const long long number = std::get<long long>(value.value);
    if (item.length == 1)
        return integer_bytes<std::uint8_t>(number);
    return item.length == 8 ? integer_bytes<std::int64_t>(number) : integer_bytes<std::int32_t>(number);
}

template <typename Predicate> const information_item *find_item(Predicate matches)
{
    const auto found = std::find_if(std::begin(information_items), std::end(information_items), matches);
    return found == std::end(information_items) ? nullptr : &*found;
}

} // namespace

bool is_number(const information_item &item)
{
    return item.length <= 8;
}

const information_item *find_information_item(int id)
{
    return find_item([&](const information_item &item) { return item.id == id; });
}

const information_item *find_information_item(std::string_view name)
{
    return find_item([&](const information_item &item) { return item.name == name; });
}

information::information(const profile &description)
{
    for (const auto &[name, value] : description.information)
        items_[name] = {initial_bytes(*find_information_item(name), value), value.writable};
}

std::string information::value(const information_item &item) const
{
    const auto found = items_.find(item.name);
    return found != items_.end() ? found->second.bytes : std::string();
}

int information::set(const information_item &item, const void *data, const long *length)
{
    const auto found = items_.find(item.name);
    if (found == items_.end() || data == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    if (!found->second.writable)
        return SCANNER_ERR_ACCESS_DENIED;
    const auto *bytes = static_cast<const char *>(data);
    const long given = length != nullptr ? *length : item.length;
    if (is_text(item)) {
        const std::size_t size = given > 0 ? ::strnlen(bytes, static_cast<std::size_t>(given)) : 0;
        if (size >= static_cast<std::size_t>(item.length))
            return SCANNER_ERR_INVALID_PARAMETER;
        found->second.bytes.assign(bytes, size).push_back('\0');
        return SCANNER_ERR_OK;
    }
    if (given != item.length)
        return SCANNER_ERR_INVALID_PARAMETER;
    found->second.bytes.assign(bytes, static_cast<std::size_t>(given));
    return SCANNER_ERR_OK;
}

} // namespace virtual_scanner
