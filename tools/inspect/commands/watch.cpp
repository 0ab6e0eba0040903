// SPDX-License-Identifier: MIT
// "watch": the driver's events, one a line, until somebody interrupts. Standard output is written by the program's own
// thread, so that a reader who goes away ends the program as usual.
// Tested by tests/tools/watch_test.cpp.
#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "event_log.h"
#include "failure.h"
#include "interruption.h"
#include "output.h"
#include "scanner.h"

#include <sane/sane.h>

#include <chrono>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <memory>
#include <string>

namespace inspect {

namespace {

struct watch_arguments {
    std::string device;
    int count = 0;
    bool json = false;
};

constexpr std::chrono::milliseconds waiting_time{200}; // between looks at signals and at the device

void print_event(const event_record &record, bool json)
{
    const auto local = fmt::localtime(std::chrono::system_clock::to_time_t(record.time));
    if (json)
        print_json_line(as_json(record));
    else
        print(fmt::format("{:%H:%M:%S}  {}\n", local, as_text(record)));
    finish_output();
}

exit_status watch(const watch_arguments &arguments)
{
    event_queue events;
    const backend sane([&events](const event &reported) { events.push(record_of(reported)); });
    const scanner device(arguments.device);
    const interruption signals;
    print_message(fmt::format("{}: watching, interrupt to end\n", printable(device.name())));
    int shown = 0;
    while (!interruption::happened() && (arguments.count == 0 || shown < arguments.count)) {
        if (const auto record = events.next(waiting_time)) {
            print_event(*record, arguments.json);
            ++shown;
        } else if (device.is_gone()) {
            device.check(SANE_STATUS_IO_ERROR, "watching");
        }
    }
    return exit_status::done;
}

} // namespace

void add_watch_command(command_line &program)
{
    const auto arguments = std::make_shared<watch_arguments>();
    program
        .add_command("watch", "Show the driver's events as they come, until interrupted",
                     "Example:\n  pelsane-inspect watch --json | while read -r event; do echo \"$event\"; done",
                     [arguments] { return watch(*arguments); })
        .device(arguments->device)
        .count(arguments->count, "--count", "End after this many events")
        .json(arguments->json);
}

} // namespace inspect
