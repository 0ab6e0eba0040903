// SPDX-License-Identifier: MIT
// A device's page in the book is opened when the device is first asked about, since devices come and go while the
// driver is in use: it begins with the profile's faults, and the commands given so far follow in their order.
// Tested by faults_test, call_faults_test.
#include "fault_book.h"

#include "command.h"
#include "commonlog.h"
#include "faults.h"
#include "log.h"

#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace virtual_scanner {

namespace {

std::vector<command> commands_of_environment()
{
    const char *text = secure_getenv("PELVIRTUAL_FAULTS");
    try {
        return parse_commands(text != nullptr ? text : "");
    } catch (const command_error &error) {
        CriticalLog(driver_log(), "PELVIRTUAL_FAULTS cannot be used: %s", error.what());
        return {};
    }
}

bool is_for(const command &given, const std::string &device)
{
    return given.device.empty() || given.device == device;
}

bool is_for_driver(const command &given)
{
    const auto *fault = std::get_if<call_answer>(&given.action);
    return fault != nullptr && is_call_of_driver(fault->call);
}

bool ends_everything(const command &given)
{
    const auto *which = std::get_if<remedy>(&given.action);
    return given.device.empty() && which != nullptr && *which == remedy::everything_cleared;
}

} // namespace

void fault_book::load()
{
    {
        const std::lock_guard<std::mutex> guard(lock_);
        if (is_loaded_)
            return;
        is_loaded_ = true;
    }
    for (const command &given : commands_of_environment())
        if (!apply(given))
            keep_event(given);
}

void fault_book::keep_event(const command &given)
{
    const std::lock_guard<std::mutex> guard(lock_);
    events_.push_back(given);
}

void fault_book::reset()
{
    const std::lock_guard<std::mutex> guard(lock_);
    is_loaded_ = false;
    events_.clear();
    waiting_.clear();
    devices_.clear();
    driver_.apply(remedy::everything_cleared);
}

bool fault_book::apply(const command &given)
{
    if (std::holds_alternative<event_order>(given.action))
        return false;
    const std::lock_guard<std::mutex> guard(lock_);
    if (is_for_driver(given) || ends_everything(given))
        driver_.apply(given.action);
    if (is_for_driver(given))
        return true;
    for (const auto &[name, faults] : devices_)
        if (is_for(given, name))
            faults->apply(given.action);
    if (ends_everything(given))
        waiting_.clear();
    else if (given.device.empty() || devices_.count(given.device) == 0)
        keep_waiting(given);
    return true;
}

void fault_book::keep_waiting(const command &given)
{
    if (waiting_.size() == most_faults)
        waiting_.erase(waiting_.begin());
    waiting_.push_back(given);
}

std::shared_ptr<device_faults> fault_book::of(const std::string &device, const std::vector<command> &own)
{
    const std::lock_guard<std::mutex> guard(lock_);
    std::shared_ptr<device_faults> &faults = devices_[device];
    if (faults != nullptr)
        return faults;
    faults = std::make_shared<device_faults>();
    for (const command &each : own)
        faults->apply(each.action);
    for (const command &each : waiting_)
        if (is_for(each, device))
            faults->apply(each.action);
    return faults;
}

std::vector<std::string> fault_book::devices()
{
    const std::lock_guard<std::mutex> guard(lock_);
    std::vector<std::string> names;
    names.reserve(devices_.size());
    for (const auto &[name, faults] : devices_)
        names.push_back(name);
    return names;
}

std::vector<event_order> fault_book::events_of(const std::string &device, const std::vector<command> &own)
{
    std::vector<event_order> orders;
    for (const command &each : own)
        if (const auto *order = std::get_if<event_order>(&each.action))
            orders.push_back(*order);
    const std::lock_guard<std::mutex> guard(lock_);
    for (const command &each : events_)
        if (is_for(each, device))
            orders.push_back(std::get<event_order>(each.action));
    return orders;
}

std::optional<int> fault_book::take_answer(driver_call call)
{
    const auto fault = driver_.any() ? driver_.take_answer(call, "", -1, 0) : std::nullopt;
    return fault ? std::optional<int>(fault->answer) : std::nullopt;
}

} // namespace virtual_scanner
