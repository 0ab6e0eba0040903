// SPDX-License-Identifier: MIT
// "devices": the scanners that the driver lists, and the versions of what stands between them and the user.
// Tested by tests/tools/devices_test.cpp.
#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "failure.h"
#include "output.h"
#include "text_table.h"

#include <fmt/format.h>
#include <memory>
#include <vector>

namespace inspect {

namespace {

struct devices_arguments {
    bool json = false;
};

json_value as_json(const backend &sane, const std::vector<device> &devices)
{
    json_value list = json_value::array();
    for (const device &each : devices)
        list.push_back({{"name", each.name}, {"vendor", each.vendor}, {"model", each.model}, {"type", each.type}});
    return {{"backend", sane.version()}, {"driver", backend::driver_version()}, {"devices", list}};
}

exit_status print_devices(const devices_arguments &arguments)
{
    const backend sane;
    const std::vector<device> devices = backend::devices();
    if (arguments.json) {
        print_json(as_json(sane, devices));
        return exit_status::done;
    }
    print(fmt::format("Backend pelsane {}, driver {}\n", sane.version(), backend::driver_version()));
    if (devices.empty())
        throw failure(exit_status::no_device, "no scanner was found");
    text_table table({"Device", "Vendor", "Model", "Type"});
    for (const device &each : devices)
        table.add_row({each.name, each.vendor, each.model, each.type});
    print("\n" + table.text());
    return exit_status::done;
}

} // namespace

void add_devices_command(command_line &program)
{
    const auto arguments = std::make_shared<devices_arguments>();
    program
        .add_command("devices", "List the scanners, with the versions of backend and driver",
                     "Example:\n  pelsane-inspect devices --json", [arguments] { return print_devices(*arguments); })
        .json(arguments->json);
}

} // namespace inspect
