// SPDX-License-Identifier: MIT
// Initialisation to end. The profile is shared by all sessions and read afresh at each initialisation.
// Tested by driver_lifecycle_test.
#include "driver.h"

#include "delivery.h"
#include "log.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace virtual_scanner {

namespace {

std::shared_ptr<const profile> load_profile_or_log()
{
    try {
        return std::make_shared<const profile>(load_profile());
    } catch (const profile_error &error) {
        CriticalLog(driver_log(), "The scanner's profile cannot be used: %s", error.what());
        return nullptr;
    }
}

void fill_field(char (&field)[256], const std::string &text)
{
    std::memcpy(field, text.c_str(), std::min(text.size() + 1, sizeof field));
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
    if (!user_.empty())
        InfoLog(driver_log(), "used by %s", user_.c_str());
    profile_ = load_profile_or_log();
    information_.reset();
    if (profile_ != nullptr)
        information_.emplace(*profile_);
    events_.start(callback, parameter);
    initialized_ = true;
    return SCANNER_ERR_OK;
}

int driver::uninitialize()
{
    if (!events_.stop())
        return SCANNER_ERR_INVALID_STATE;
    const std::lock_guard<std::mutex> guard(lock_);
    handles_.clear();
    information_.reset();
    profile_.reset();
    initialized_ = false;
    log_.reset();
    return SCANNER_ERR_OK;
}

int driver::enumerate(void *records, int *count)
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (!initialized_)
        return SCANNER_ERR_NOT_READY;
    if (count == nullptr || profile_ == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    const int room = *count;
    *count = 1;
    if (records == nullptr || room < 1)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    _device record{};
    fill_field(record.name, profile_->device.name);
    fill_field(record.vendor, profile_->device.vendor);
    fill_field(record.model, profile_->device.model);
    fill_field(record.type, profile_->device.type);
    std::memcpy(records, &record, sizeof record);
    return SCANNER_ERR_OK;
}

int driver::open(void **handle, const char *name)
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (!initialized_)
        return SCANNER_ERR_NOT_READY;
    if (handle == nullptr || name == nullptr || profile_ == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    if (*name != '\0' && profile_->device.name != name)
        return SCANNER_ERR_INVALID_PARAMETER;
    *handle = handles_.add([this](std::uintptr_t number, stop_flag &stop) {
        return std::make_shared<session>(profile_, number, stop, events_);
    });
    return *handle != nullptr ? SCANNER_ERR_OK : SCANNER_ERR_DEVICE_BUSY;
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
