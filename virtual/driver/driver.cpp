// SPDX-License-Identifier: MIT
// Initialisation to end. The profiles are shared by all sessions and read afresh at each initialisation.
// Tested by driver_lifecycle_test, driver_devices_test.
#include "driver.h"

#include "command.h"
#include "commonlog.h"
#include "control_socket.h"
#include "delivery.h"
#include "devices.h"
#include "faults.h"
#include "folder_watch.h"
#include "information.h"
#include "kx_scanner.h"
#include "log.h"
#include "profile.h"
#include "service.h"
#include "session.h"
#include "socket_file.h"
#include "stop_flag.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace virtual_scanner {

namespace {

void fill_field(char (&field)[256], const std::string &text)
{
    std::memcpy(field, text.c_str(), std::min(text.size() + 1, sizeof field));
}

std::unique_ptr<folder_watch> watch_or_log(const std::vector<std::string> &folders)
{
    try {
        return folders.empty() ? nullptr : std::make_unique<folder_watch>(folders);
    } catch (const std::system_error &error) {
        WarnLog(driver_log(), "Changes of the profiles are not noticed: %s", error.what());
        return nullptr;
    }
}

std::unique_ptr<control_socket> listen_or_log(control_socket::obey_function obey)
{
    try {
        const auto path = control_path();
        return path ? std::make_unique<control_socket>(*path, std::move(obey)) : nullptr;
    } catch (const std::runtime_error &error) {
        WarnLog(driver_log(), "No commands are taken: %s", error.what());
        return nullptr;
    }
}

_device record_of(const device_identity &identity)
{
    _device record{};
    fill_field(record.name, identity.name);
    fill_field(record.vendor, identity.vendor);
    fill_field(record.model, identity.model);
    fill_field(record.type, identity.type);
    return record;
}

} // namespace

driver &driver::instance()
{
    static driver object;
    return object;
}

void driver::set_user(const char *name, const char *version)
{
    const std::lock_guard<std::mutex> guard(lock_);
    user_ = std::string(name != nullptr ? name : "") + " " + (version != nullptr ? version : "");
}

int driver::initialize(kx_event_callback callback, void *parameter)
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (initialized_)
        return SCANNER_ERR_OK;
    log_ = open_log();
    try {
        return begin(callback, parameter);
    } catch (...) {
        forget_devices(); // but not the log, in which the failure is to stand
        throw;
    }
}

int driver::begin(kx_event_callback callback, void *parameter)
{
    if (!user_.empty())
        InfoLog(driver_log(), "used by %s", user_.c_str());
    faults_.load();
    const int answer = faults_.take_answer(driver_call::initialize).value_or(SCANNER_ERR_OK);
    if (!is_success(answer)) {
        log_.reset();
        return answer;
    }
    devices_.load();
    const auto first = devices_.find("");
    information_.emplace(first != nullptr ? *first : parse_profile(builtin_profile, "built-in profile"));
    start_service(callback, parameter);
    initialized_ = true;
    return answer;
}

// A profile that came after the list was made and before its folder was watched is found by the second look.
void driver::start_service(kx_event_callback callback, void *parameter)
{
    service::duties duties;
    duties.callback = callback;
    duties.parameter = parameter;
    duties.folders = watch_or_log(devices_.folders());
    duties.look_at_folders = [this] { control_.look_at_profiles(); };
    if (duties.folders)
        devices_.rescan();
    duties.control = listen_or_log([this](std::string_view line) { return control_.obey(line); });
    duties.keeps_time = has_events();
    service_.start(std::move(duties));
}

bool driver::has_events()
{
    const std::vector<device> known = devices_.list();
    return std::any_of(known.begin(), known.end(), [this](const device &each) {
        return !faults_.events_of(each.name, each.description->faults).empty();
    });
}

int driver::uninitialize()
{
    if (!service_.stop())
        return SCANNER_ERR_INVALID_STATE;
    const std::lock_guard<std::mutex> guard(lock_);
    handles_.clear();
    forget_devices();
    initialized_ = false;
    log_.reset();
    return SCANNER_ERR_OK;
}

void driver::forget_devices()
{
    information_.reset();
    devices_.clear();
    faults_.reset();
}

std::vector<device> driver::present_devices()
{
    std::vector<device> present = devices_.list();
    const auto is_gone = [this](const device &each) {
        return faults_.of(each.name, each.description->faults)->is_gone();
    };
    present.erase(std::remove_if(present.begin(), present.end(), is_gone), present.end());
    return present;
}

std::shared_ptr<const profile> driver::first_present()
{
    const std::vector<device> present = present_devices();
    return present.empty() ? nullptr : present.front().description;
}

int driver::enumerate(void *records, int *count)
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (!initialized_)
        return SCANNER_ERR_NOT_READY;
    if (count == nullptr || devices_.has_failed())
        return SCANNER_ERR_INVALID_PARAMETER;
    const int answer = faults_.take_answer(driver_call::enumerate).value_or(SCANNER_ERR_OK);
    if (!is_success(answer))
        return answer;
    const std::vector<device> listed = present_devices();
    const int room = *count;
    *count = static_cast<int>(listed.size());
    if (*count > 0 && (records == nullptr || room < *count))
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    auto *place = static_cast<unsigned char *>(records);
    for (const device &each : listed) {
        const _device record = record_of(each.description->device);
        std::memcpy(place, &record, sizeof record);
        place += sizeof record;
    }
    return answer;
}

// A device that asks once is content with the answer: the caller opens it a second time only when it has one.
bool driver::grants_access(const profile &description, bool &need_auth)
{
    if (description.access == access_rule::asks_once)
        need_auth = asked_.insert(description.device.name).second;
    return description.access != access_rule::denied && !need_auth;
}

int driver::open(void **handle, const char *name, bool &need_auth)
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (!initialized_)
        return SCANNER_ERR_NOT_READY;
    if (handle == nullptr || name == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    const auto description = *name != '\0' ? devices_.find(name) : first_present();
    if (description == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    const auto faults = faults_.of(description->device.name, description->faults);
    const int answer = faults->answer_to_open(need_auth);
    if (!is_success(answer))
        return answer;
    if (!grants_access(*description, need_auth))
        return SCANNER_ERR_ACCESS_DENIED;
    void *const opened = handles_.add([&](std::uintptr_t number, stop_flag &stop) {
        return std::make_shared<session>(description, faults, number, stop, events_);
    });
    if (opened == nullptr)
        return SCANNER_ERR_DEVICE_BUSY;
    try {
        const std::string &device = description->device.name;
        control_.arrange(faults_.events_of(device, description->faults), device, opened);
    } catch (const std::bad_alloc &) {
        handles_.remove(opened); // nobody would close it
        throw;
    }
    *handle = opened;
    return answer;
}

int driver::get_log_text(void *data, long *length)
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (length == nullptr || !information_)
        return SCANNER_ERR_INVALID_PARAMETER;
    const std::string text = information_->value(*find_information_item("drv-log"));
    return text.empty() ? SCANNER_ERR_INVALID_PARAMETER : deliver(text, data, length);
}

int driver::set_log_text(const void *data, const long *length)
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (!information_)
        return SCANNER_ERR_INVALID_PARAMETER;
    return information_->set(*find_information_item("drv-log"), data, length);
}

} // namespace virtual_scanner
