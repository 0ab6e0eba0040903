// SPDX-License-Identifier: MIT
// "options": every option of a scanner in one table, under the headings of the driver's groups.
// Tested by tests/tools/options_test.cpp.
#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "failure.h"
#include "option.h"
#include "output.h"
#include "scanner.h"
#include "setting.h"
#include "text_table.h"

#include <sane/sane.h>

#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

namespace inspect {

namespace {

struct options_arguments {
    std::string device;
    std::vector<std::string> settings;
    bool json = false;
};

// Capabilities as short as a table needs them.
std::string access_text(const option &shown)
{
    struct word {
        SANE_Int bit;
        const char *text;
    };
    constexpr word words[] = {{SANE_CAP_SOFT_DETECT, "get"},      {SANE_CAP_SOFT_SELECT, "set"},
                              {SANE_CAP_HARD_SELECT, "hardware"}, {SANE_CAP_EMULATED, "emulated"},
                              {SANE_CAP_AUTOMATIC, "auto"},       {SANE_CAP_ADVANCED, "advanced"}};
    std::string text;
    for (const word &each : words)
        if ((shown.capabilities & each.bit) != 0)
            text += (text.empty() ? "" : ",") + std::string(each.text);
    return text;
}

std::vector<std::string> cells_of(const option &shown)
{
    return {std::to_string(shown.number),
            shown.name,
            shown.fixed_id != 0 ? std::to_string(shown.fixed_id) : "-",
            shown.title,
            type_text(shown.type),
            shown.unit != SANE_UNIT_NONE ? unit_text(shown.unit) : "-",
            std::to_string(shown.size),
            access_text(shown),
            shown.is_active() ? "yes" : "no",
            value_text(shown.current),
            value_text(shown.default_value),
            constraint_text(shown.constraint)};
}

std::string as_table(const std::vector<option> &options)
{
    text_table table(
        {"No.", "Name", "Id", "Title", "Type", "Unit", "Size", "Access", "Active", "Current", "Default", "Allowed"});
    bool in_added_options = false;
    for (const option &each : options) {
        if (each.well_known && !in_added_options)
            table.add_title("== Added by the backend");
        in_added_options = each.well_known;
        if (each.is_group())
            table.add_title(fmt::format("== {} ({}, {})", each.title, each.number, each.name));
        else
            table.add_row(cells_of(each));
    }
    return table.text();
}

exit_status print_options(const options_arguments &arguments)
{
    const backend sane;
    const scanner device(arguments.device);
    apply_all(device, arguments.settings);
    const std::vector<option> options = read_options(device);
    if (!arguments.json) {
        print(as_table(options));
        return exit_status::done;
    }
    json_value list = json_value::array();
    for (const option &each : options)
        list.push_back(as_json(each));
    print_json({{"device", device.name()}, {"options", list}});
    return exit_status::done;
}

} // namespace

void add_options_command(command_line &program)
{
    const auto arguments = std::make_shared<options_arguments>();
    program
        .add_command("options", "List all options of a scanner, with values and what is allowed",
                     "Example:\n  pelsane-inspect options virtual:duplex-feeder --set mode=Gray",
                     [arguments] { return print_options(*arguments); })
        .device(arguments->device)
        .settings(arguments->settings)
        .json(arguments->json);
}

} // namespace inspect
