// SPDX-License-Identifier: MIT
// "info": what the driver says of a scanner besides its options. Every item that the backend knows is asked for; those
// that the driver does not answer are left out.
// Tested by tests/tools/info_test.cpp.
#include "backend.h"
#include "command.h"
#include "option.h"
#include "option_ids.h"
#include "option_key.h"
#include "sane_ex.h"
#include "text_table.h"

#include <cstdint>
#include <cstring>
#include <fmt/format.h>

namespace inspect {

namespace {

struct info_arguments {
    std::string device;
    bool json = false;
};

constexpr int table_length = 1312; // of the gamma table

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

// The item's length tells its kind: a byte, a number of 4 or 8 bytes, a table in bytes, or a text.
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
    std::vector<char> block(static_cast<std::size_t>(item.length) + 4);
    const SANE_Status status = sane_pelsane_control_option_ex(device.handle(), option_key::from_number(item.id),
                                                              SANE_ACTION_GET_VALUE, block.data(), nullptr);
    return status == SANE_STATUS_GOOD ? value_in(block, item.length) : json_value();
}

json_value read_items(const scanner &device)
{
    json_value items = json_value::array();
    for (const information_item &item : information_items) {
        json_value value = read_item(device, item);
        if (!value.is_null())
            items.push_back({{"id", item.id}, {"name", item.name}, {"value", std::move(value)}});
    }
    if (device.is_gone())
        device.check(SANE_STATUS_IO_ERROR, "reading the information");
    return items;
}

exit_status print_info(const info_arguments &arguments)
{
    const backend sane;
    const scanner device(arguments.device);
    const json_value items = read_items(device);
    if (arguments.json) {
        print_json({{"device", device.name()}, {"information", items}});
        return exit_status::done;
    }
    text_table table({"Id", "Name", "Value"});
    for (const json_value &item : items) {
        const std::string value = value_text(item["value"]);
        table.add_row({item["id"].dump(), item["name"].get<std::string>(),
                       value.size() == 2 * table_length ? fmt::format("{} bytes", table_length) : value});
    }
    print(table.text());
    return exit_status::done;
}

} // namespace

void add_info_command(CLI::App &program, chosen_command &chosen)
{
    add_command<info_arguments>(
        program, chosen, "info", "List what the driver says of a scanner: versions, serial number, counters",
        [](CLI::App &command, info_arguments &arguments) {
            command.add_option("DEVICE", arguments.device, device_help);
        },
        print_info)
        ->footer("Example:\n  pelsane-inspect info virtual:duplex-feeder --json");
}

} // namespace inspect
