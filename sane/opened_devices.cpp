// SPDX-License-Identifier: MIT
// The book of opened devices. The frontend never sees a driver handle: it gets the transformed one, and every call
// looks the record up by transforming back. A record exists from a successful open until close or exit; whatever fails
// after the driver opened a device closes it again. Tested by tests/sane/opened_devices_test.cpp.
#include "kx_scanner.h"
#include "sane_kx_mdw.h"

#include <algorithm>
#include <cstddef>

namespace {

static_assert(offsetof(kx_access, user) == 8 && offsetof(kx_access, password) == 264 &&
                  offsetof(kx_access, extra) == 520 && offsetof(kx_access, trailing) == 776,
              "the access block that the frontend receives");

// Closes a device that the driver opened, unless it was taken over.
struct scanner_closer {
    void operator()(void *scanner) const { kx_scanner_close(scanner, 1); }
};
using opened_scanner = std::unique_ptr<void, scanner_closer>;

// Asks the frontend for access to a device that is being opened; 0 to go on.
int request_access(kx_access &access)
{
    access.tail = access.trailing;
    return local_utility::ui_cb(nullptr, KX_EVENT_ACCESS, &access, nullptr, nullptr);
}

} // namespace

int kx_sane_middleware::open(const char *name, void **handle_out, const char *, const char *, const char *,
                             char *need_auth)
{
    if (name == nullptr || handle_out == nullptr)
        return SANE_STATUS_INVAL;
    void *handle = nullptr;
    const int code = kx_scanner_open(&handle, name, 0, nullptr, nullptr, nullptr, need_auth);
    if (code != SCANNER_ERR_OK)
        return code == SCANNER_ERR_ACCESS_DENIED ? int{SANE_STATUS_ACCESS_DENIED} : code;
    if (handle == nullptr)
        return SANE_STATUS_IO_ERROR; // a driver that opens nothing

    opened_scanner scanner(handle);
    auto dev = std::make_unique<_dev_inst>();
    dev->dev_ = handle;
    dev->name_ = name;
    if (!local_utility::has_callback()) {
        const int count = described_options(handle);
        if (count > 0)
            dev->std_opts_ = std::make_unique<sane_std_opts>(count);
    }
    openning_dev_.push_back(std::move(dev));
    static_cast<void>(scanner.release()); // the record stands for it now
    *handle_out = scanner_handle_to_sane(handle);
    return SANE_STATUS_GOOD;
}

int kx_sane_middleware::open_device(const char *name, void **handle_out)
{
    char need_auth = 0;
    int result = open(name, handle_out, nullptr, nullptr, nullptr, &need_auth);
    if (result == SANE_STATUS_ACCESS_DENIED && need_auth != 0) {
        kx_access access = {};
        if (request_access(access) != 0)
            return SANE_STATUS_CANCELLED;
        result = open(name, handle_out, access.user, access.password, access.extra, &need_auth);
    }
    if (result != SANE_STATUS_GOOD)
        return result;
    try {
        reload_options(sane_handle_to_scanner(*handle_out));
    } catch (...) {
        close_device(*handle_out); // the application is told that it has no device
        throw;
    }
    return SANE_STATUS_GOOD;
}

kx_sane_middleware::device_list::iterator kx_sane_middleware::find_openning_device_in_que(void *scanner)
{
    // a cancel from a signal handler may look while an entry is being taken out
    const auto is_wanted = [scanner](const auto &dev) { return dev != nullptr && dev->dev_ == scanner; };
    return std::find_if(openning_dev_.begin(), openning_dev_.end(), is_wanted);
}

kx_sane_middleware::device_list::iterator kx_sane_middleware::find_openning_device_in_que(const char *name)
{
    return std::find_if(openning_dev_.begin(), openning_dev_.end(),
                        [name](const auto &dev) { return dev != nullptr && dev->name_ == name; });
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
    read_last_.store(nullptr, std::memory_order_relaxed);
    _dev_inst *const record = found->release();
    openning_dev_.erase(found);
    if (record_out == nullptr)
        free_device_inst(record, true);
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
