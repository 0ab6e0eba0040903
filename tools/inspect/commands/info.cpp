// SPDX-License-Identifier: MIT
// "info": what the driver says of a scanner besides its options. Every item that the backend knows is asked for; those
// that the driver does not answer are left out.
// Tested by tests/tools/info_test.cpp.
#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "failure.h"
#include "information.h"
#include "option.h"
#include "output.h"
#include "scanner.h"
#include "text_table.h"

#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

namespace inspect {

namespace {

struct info_arguments {
    std::string device;
    bool json = false;
};

json_value as_json(const std::vector<answered_item> &items)
{
    json_value list = json_value::array();
    for (const answered_item &each : items)
        list.push_back({{"id", each.item->id}, {"name", each.item->name}, {"value", each.value}});
    return list;
}

exit_status print_info(const info_arguments &arguments)
{
    const backend sane;
    const scanner device(arguments.device);
    const std::vector<answered_item> items = read_information(device);
    if (arguments.json) {
        print_json({{"device", device.name()}, {"information", as_json(items)}});
        return exit_status::done;
    }
    text_table table({"Id", "Name", "Value"});
    for (const answered_item &each : items)
        table.add_row(
            {std::to_string(each.item->id), each.item->name,
             each.item->length == table_length ? fmt::format("{} bytes", table_length) : value_text(each.value)});
    print(table.text());
    return exit_status::done;
}

} // namespace

void add_info_command(command_line &program)
{
    const auto arguments = std::make_shared<info_arguments>();
    program
        .add_command("info", "List what the driver says of a scanner: versions, serial number, counters",
                     "Example:\n  pelsane-inspect info virtual:duplex-feeder --json",
                     [arguments] { return print_info(*arguments); })
        .device(arguments->device)
        .json(arguments->json);
}

} // namespace inspect
