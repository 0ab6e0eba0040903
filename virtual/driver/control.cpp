// SPDX-License-Identifier: MIT
// Commands in, faults set and events reported. An event that changes the scanner's state goes through the same fault as
// the command that does, so that there is one place that knows whether the cover is open and paper lies in the feeder.
// Tested by events_test, hotplug_test, control_socket_test.
#include "control.h"

#include "command.h"
#include "device_notice.h"
#include "devices.h"
#include "events.h"
#include "service.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace virtual_scanner {

namespace {

using action = decltype(command::action);

struct event_meaning {
    event_kind kind;
    int code;
    std::optional<action> effect;
};

job_fault lasting(job_fault_kind kind)
{
    job_fault fault;
    fault.kind = kind;
    fault.times = always;
    return fault;
}

const event_meaning &meaning_of(event_kind kind)
{
    static const std::array meanings{
        event_meaning{event_kind::button, event_button, std::nullopt},
        event_meaning{event_kind::paper_in, event_paper_in, remedy::feeder_filled},
        event_meaning{event_kind::paper_out, event_paper_out, lasting(job_fault_kind::empty)},
        event_meaning{event_kind::cover_open, event_cover_opened, lasting(job_fault_kind::cover_open)},
        event_meaning{event_kind::cover_closed, event_cover_closed, remedy::cover_closed},
        event_meaning{event_kind::sleep, event_sleep, std::nullopt},
        event_meaning{event_kind::wake, event_wake, std::nullopt},
    };
    return meanings[static_cast<std::size_t>(kind)];
}

event_meaning meaning_of(const event_order &order)
{
    if (const auto *kind = std::get_if<event_kind>(&order.event))
        return meaning_of(*kind);
    return {event_kind::button, std::get<int>(order.event), std::nullopt};
}

constexpr char help[] =
    "ok: devices; help; jam, stall, vanish, empty, double feed, cover open, slow start, deny, ask, "
    "status, garbage, too small, or a call's name with \"answers\"; event; cover closed, filled, return, "
    "clear; \"on DEVICE\" before each; \";\" between";

} // namespace

std::string control::obey(std::string_view line)
{
    const auto begin = line.find_first_not_of(" \t");
    const std::string_view text =
        begin == line.npos ? "" : line.substr(begin, line.find_last_not_of(" \t") - begin + 1);
    if (text == "help")
        return help;
    if (text == "devices")
        return list_devices();
    try {
        carry_out(parse_commands(text));
        return "ok";
    } catch (const std::exception &error) {
        return std::string("error: ") + error.what();
    }
}

std::string control::list_devices() const
{
    std::string answer = "ok:";
    for (const device &each : known_.list())
        answer += " " + each.name;
    return answer;
}

void control::carry_out(const std::vector<command> &commands)
{
    for (const command &each : commands)
        if (!each.device.empty() && known_.find(each.device) == nullptr)
            throw std::runtime_error("there is no device " + each.device);
    for (const command &each : commands) {
        const auto *order = std::get_if<event_order>(&each.action);
        if (order == nullptr)
            faults_.apply(each);
        else if (!arrange(*order, {each.device, nullptr}, service::clock::now() + order->after))
            throw std::runtime_error("too many events are to come");
        if (const auto *which = std::get_if<remedy>(&each.action); which && *which == remedy::everything_cleared)
            end_events(each.device);
    }
    unplug_absent();
    opened_.wake();
}

// A device without a profile stays gone, whatever was said to return.
void control::unplug_absent()
{
    for (const std::string &name : faults_.devices())
        if (known_.find(name) == nullptr)
            faults_.apply({name, lasting(job_fault_kind::vanish)});
}

void control::end_events(const std::string &device)
{
    const std::lock_guard<std::mutex> guard(lock_);
    ++clearings_[device];
}

int control::clearings_of(const std::string &device)
{
    const std::lock_guard<std::mutex> guard(lock_);
    return clearings_[""] + (device.empty() ? 0 : clearings_[device]);
}

void control::arrange(const std::vector<event_order> &orders, const std::string &device, void *handle)
{
    for (const event_order &order : orders)
        arrange(order, {device, handle}, service::clock::now() + order.after);
}

// A repetition whose time has passed comes once, however late the thread is. False when too much is to come.
bool control::arrange(const event_order &order, const receiver &whom, service::clock::time_point time)
{
    const int clearings = clearings_of(whom.device);
    return timer_.call_at(time, [this, order, whom, time, clearings] {
        const bool is_closed = whom.handle != nullptr && opened_.find(whom.handle) == nullptr;
        if (is_closed || clearings_of(whom.device) != clearings)
            return;
        happen(order, whom);
        if (order.times == 1)
            return;
        event_order rest = order;
        rest.times = order.times == always ? always : order.times - 1;
        arrange(rest, whom, std::max(time + order.every, service::clock::now()));
    });
}

void control::happen(const event_order &order, const receiver &whom)
{
    const event_meaning meaning = meaning_of(order);
    if (meaning.effect)
        faults_.apply({whom.device, *meaning.effect});
    const unsigned int button = meaning.code == event_button ? static_cast<unsigned int>(order.button) : 0;
    for (void *handle : whom.handle != nullptr ? std::vector<void *>{whom.handle} : opened_.handles_of(whom.device))
        reports_.post(handle, meaning.code, button);
}

void control::look_at_profiles()
{
    const device_changes changes = known_.rescan();
    for (const std::string &name : changes.removed)
        faults_.apply({name, lasting(job_fault_kind::vanish)});
    for (const std::string &name : changes.added)
        faults_.apply({name, remedy::device_returned});
    opened_.wake();
    if (!changes.empty())
        raise_device_notice();
}

} // namespace virtual_scanner
