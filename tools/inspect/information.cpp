// SPDX-License-Identifier: MIT
// Information items, read through the backend as an application reads them. An item's length tells its kind.
// Tested by tests/tools/info_test.cpp.
#include "information.h"

#include "option_ids.h"
#include "option_key.h"
#include "output.h"
#include "sane_ex.h"
#include "scanner.h"

#include <cstdint>
#include <cstring>
#include <fmt/format.h>
#include <string>
#include <utility>
#include <vector>

namespace inspect {

namespace {

template <typename Number> json_value number_in(const std::vector<char> &block)
{
    Number number{};
    std::memcpy(&number, block.data(), sizeof(number));
    return number;
}

std::string hexadecimal(const std::vector<char> &block, int length)
{
    std::string digits;
    for (int at = 0; at < length; ++at)
        digits += fmt::format("{:02x}", static_cast<unsigned char>(block[static_cast<std::size_t>(at)]));
    return digits;
}

// A byte, a number of 4 or 8 bytes, a table in bytes, or a text.
json_value value_in(const std::vector<char> &block, int length)
{
    if (length == 1)
        return number_in<std::uint8_t>(block);
    if (length == 4)
        return number_in<std::int32_t>(block);
    if (length == 8)
        return number_in<std::int64_t>(block);
    if (length == table_length)
        return hexadecimal(block, length);
    return std::string(block.data(), ::strnlen(block.data(), block.size()));
}

json_value read_item(const scanner &device, const information_item &item)
{
    std::vector<char> block(static_cast<std::size_t>(item.length));
    const SANE_Status status = sane_pelsane_control_option_ex(device.handle(), option_key::from_number(item.id),
                                                              SANE_ACTION_GET_VALUE, block.data(), nullptr);
    return status == SANE_STATUS_GOOD ? value_in(block, item.length) : json_value();
}

} // namespace

std::vector<answered_item> read_information(const scanner &device)
{
    std::vector<answered_item> items;
    for (const information_item &item : information_items) {
        json_value value = read_item(device, item);
        if (!value.is_null())
            items.push_back({&item, std::move(value)});
    }
    if (device.is_gone())
        device.check(SANE_STATUS_IO_ERROR, "reading the information");
    return items;
}

} // namespace inspect
