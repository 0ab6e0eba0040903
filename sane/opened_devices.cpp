// SPDX-License-Identifier: MIT
// The book of opened devices. The frontend never sees a driver handle: it gets the transformed one, and every call
// looks the record up by transforming back. A record exists from a successful open until close or exit; whatever fails
// after the driver opened a device closes it again. Tested by tests/sane/opened_devices_test.cpp.
#include "opened_devices.h"

#include "guard.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "open_scanners.h"
#include "sane_kx_mdw.h"
#include "std_opts.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace {

static_assert(offsetof(kx_access, user) == 8 && offsetof(kx_access, password) == 264 &&
                  offsetof(kx_access, extra) == 520 && offsetof(kx_access, trailing) == 776,
              "the access block that the frontend receives");

// Closes a device that the driver opened, unless it was taken over.
struct scanner_closer {
    void operator()(void *scanner) const
    {
        quietly([scanner] { kx_scanner_close(scanner, 1); });
    }
};
using opened_scanner = std::unique_ptr<void, scanner_closer>;

// Asks the frontend for access to a device that is being opened; 0 to go on.
int request_access(kx_access &access)
{
    access.tail = access.trailing;
    return local_utility::ui_cb(nullptr, KX_EVENT_ACCESS, &access, nullptr, nullptr);
}

// A device whose opening fails when it is already listed is closed again: the application is told that it has none.
template <typename Work> int closing_on_failure(const opened_device &device, Work work)
{
    try {
        return work();
    } catch (...) {
        if (device.record() != nullptr)
            kx_sane_middleware::instance()->close_device(kx_sane_middleware::scanner_handle_to_sane(device.scanner()));
        throw;
    }
}

} // namespace

std::uint64_t _dev_inst::next_serial()
{
    static std::uint64_t last = 0;
    return ++last;
}

opened_device::opened_device(void *scanner) : scanner_(scanner)
{
    const auto *const record = kx_sane_middleware::find_record(scanner);
    if (record != nullptr)
        serial_ = record->serial_;
}

_dev_inst *opened_device::record() const
{
    return serial_ != 0 ? kx_sane_middleware::find_record(serial_) : nullptr;
}

int kx_sane_middleware::open(const char *name, void **handle_out, const char *, const char *, const char *,
                             char *need_auth)
{
    if (name == nullptr || handle_out == nullptr || is_ending_)
        return SANE_STATUS_INVAL;
    const auto serial = serial_;
    void *handle = nullptr;
    const int code = kx_scanner_open(&handle, name, 0, nullptr, nullptr, nullptr, need_auth);
    if (code != SCANNER_ERR_OK)
        return code == SCANNER_ERR_ACCESS_DENIED ? int{SANE_STATUS_ACCESS_DENIED} : code;
    if (handle == nullptr)
        return SANE_STATUS_IO_ERROR; // a driver that opens nothing

    opened_scanner scanner(handle);
    if (!is_current(serial))
        return SANE_STATUS_INVAL;
    const opened_device device(*add_record(handle, name));
    *handle_out = scanner_handle_to_sane(scanner.release()); // the record stands for it now
    if (local_utility::has_callback())
        return SANE_STATUS_GOOD;
    return closing_on_failure(device, [&] { return add_well_known_options(device); });
}

// With a callback the frontend knows the driver's own options, and gets no others.
int kx_sane_middleware::add_well_known_options(const opened_device &device)
{
    const int count = described_options(device.scanner());
    _dev_inst *const dev = device.record();
    if (dev == nullptr)
        return SANE_STATUS_INVAL;
    if (count > 0)
        dev->std_opts_ = std::make_unique<sane_std_opts>(count);
    return SANE_STATUS_GOOD;
}

int kx_sane_middleware::open_device(const char *name, void **handle_out)
{
    if (name == nullptr)
        return SANE_STATUS_INVAL;
    const std::string own_name = name; // the caller's may be in the device list, which an event may replace
    const auto serial = serial_;
    char need_auth = 0;
    int result = open(own_name.c_str(), handle_out, nullptr, nullptr, nullptr, &need_auth);
    if (result == SANE_STATUS_ACCESS_DENIED && need_auth != 0) {
        kx_access access = {};
        if (request_access(access) != 0)
            return SANE_STATUS_CANCELLED;
        if (!is_current(serial))
            return SANE_STATUS_INVAL;
        result = open(own_name.c_str(), handle_out, access.user, access.password, access.extra, &need_auth);
    }
    if (result != SANE_STATUS_GOOD)
        return result;
    const opened_device device(sane_handle_to_scanner(*handle_out));
    return closing_on_failure(device, [&] {
        reload_options(device.scanner());
        return device.was_closed() ? SANE_STATUS_INVAL : SANE_STATUS_GOOD;
    });
}

kx_sane_middleware::device_list::iterator kx_sane_middleware::find_openning_device_in_que(void *scanner)
{
    return std::find_if(openning_dev_.begin(), openning_dev_.end(),
                        [scanner](const auto &dev) { return dev->dev_ == scanner; });
}

kx_sane_middleware::device_list::iterator kx_sane_middleware::find_openning_device_in_que(const char *name)
{
    return std::find_if(openning_dev_.begin(), openning_dev_.end(),
                        [name](const auto &dev) { return dev->name_ == name; });
}

template <typename Matches> _dev_inst *kx_sane_middleware::record_where(Matches matches)
{
    kx_sane_middleware *const object = inst_;
    if (object == nullptr)
        return nullptr;
    for (const auto &dev : object->openning_dev_)
        if (matches(*dev))
            return dev.get();
    return nullptr;
}

_dev_inst *kx_sane_middleware::find_record(void *scanner)
{
    return record_where([scanner](const _dev_inst &dev) { return dev.dev_ == scanner; });
}

_dev_inst *kx_sane_middleware::find_record(std::uint64_t serial)
{
    return record_where([serial](const _dev_inst &dev) { return dev.serial_ == serial; });
}

_dev_inst *kx_sane_middleware::add_record(void *scanner, const char *name)
{
    auto dev = std::make_unique<_dev_inst>();
    dev->dev_ = scanner;
    dev->name_ = name;
    openning_dev_.reserve(openning_dev_.size() + 1);
    open_scanners::add(scanner);
    return openning_dev_.emplace_back(std::move(dev)).get();
}

std::unique_ptr<_dev_inst> kx_sane_middleware::take_record(device_list::iterator place)
{
    open_scanners::remove((*place)->dev_);
    std::unique_ptr<_dev_inst> record = std::move(*place);
    openning_dev_.erase(place);
    return record;
}

void *kx_sane_middleware::find_openning_device(void *sane_handle, bool remove, _dev_inst **record_out)
{
    const auto found = find_openning_device_in_que(sane_handle_to_scanner(sane_handle));
    if (found == openning_dev_.end())
        return nullptr;
    void *const scanner = (*found)->dev_;
    if (record_out != nullptr)
        *record_out = found->get();
    if (!remove)
        return scanner;
    auto record = take_record(found);
    if (record_out != nullptr)
        *record_out = record.release(); // the caller's now
    return scanner;
}

int kx_sane_middleware::close_device(void *sane_handle)
{
    void *const scanner = find_openning_device(sane_handle, true, nullptr);
    if (scanner == nullptr)
        return SANE_STATUS_GOOD;
    return local_utility::scanner_err_2_sane_statu(kx_scanner_close(scanner, 1));
}

void kx_sane_middleware::free_device_inst(_dev_inst *record, bool destroy)
{
    if (destroy) {
        const std::unique_ptr<_dev_inst> freed_with_all_it_owns(record);
        return;
    }
    if (record->std_opts_ != nullptr)
        record->std_opts_->clear();
    record->opts_.clear();
    record->cur_vals_.clear();
    record->slaves_.clear();
    record->masters_.clear();
    record->opts_by_name_.clear();
    record->opts_by_number_.clear();
    record->opts_by_fix_id_.clear();
    record->cur_vals_by_name_.clear();
}
