// SPDX-License-Identifier: MIT
// "get": the value of one option, and nothing else, so that scripts can use it as it is.
// Tested by tests/tools/get_test.cpp.
#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "failure.h"
#include "option.h"
#include "output.h"
#include "scanner.h"
#include "setting.h"

#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

namespace inspect {

namespace {

struct get_arguments {
    std::vector<std::string> words;
    std::vector<std::string> settings;
    bool json = false;
};

void require_value(const option &asked)
{
    if (!asked.has_value())
        throw failure(exit_status::refused, fmt::format("{}: a {} has no value", asked.name, type_text(asked.type)));
    if (asked.current.is_null())
        throw failure(exit_status::refused, fmt::format("{}: its value cannot be read", asked.name));
}

exit_status print_value(const get_arguments &arguments)
{
    const auto [device_name, option_name] = device_and_word(arguments.words);
    const backend sane;
    const scanner device(device_name);
    apply_all(device, arguments.settings);
    const std::vector<option> options = read_options(device);
    const option &asked = option_named(options, option_name);
    require_value(asked);
    if (arguments.json)
        print_json({{"device", device.name()}, {"option", asked.name}, {"value", asked.current}});
    else
        print(printable(value_text(asked.current)) + "\n");
    return exit_status::done;
}

} // namespace

void add_get_command(command_line &program)
{
    const auto arguments = std::make_shared<get_arguments>();
    program
        .add_command("get", "Print the value of an option",
                     "Examples:\n  pelsane-inspect get resolution\n  pelsane-inspect get virtual:duplex-feeder 34840",
                     [arguments] { return print_value(*arguments); })
        .option(arguments->words)
        .settings(arguments->settings)
        .json(arguments->json);
}

} // namespace inspect
