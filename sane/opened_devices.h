// SPDX-License-Identifier: MIT
// The record of an opened device, and the way to find it again after a call into the driver.
#ifndef PELSANE_OPENED_DEVICES_H
#define PELSANE_OPENED_DEVICES_H

#include "depend_expression.h"
#include "descriptor.h"
#include "option_ids.h"
#include "place_index.h"
#include "std_opts.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

// One registered option. The descriptor keeps its address while the device is open.
struct _device_option {
    int option_no_ = 0;
    int fix_id_ = 0; // well-known identifier, 0 for none
    std::string name_;
    descriptor_ptr desc_;
};

struct _dev_inst {
    void *dev_ = nullptr; // the driver's handle
    std::string name_;
    std::unique_ptr<sane_std_opts> std_opts_; // none when a frontend callback was registered at open
    std::vector<_device_option> opts_;        // in the order of registration
    std::vector<_cur_val> cur_vals_;
    std::vector<_slave_option> slaves_;
    std::vector<std::string> masters_; // sorted, without duplicates
    std::map<sane_option_id, int> fixed_id_;

    // Options of before the last reload that were not described again (so far). The application may still hold their
    // descriptors; an option that comes back under its old name takes its old descriptor.
    std::vector<_device_option> retired_;
    std::size_t retired_taken_ = 0; // at its front, whose descriptors were taken

    place_index<_device_option, &_device_option::name_> opts_by_name_;
    place_index<_device_option, &_device_option::option_no_> opts_by_number_;
    place_index<_device_option, &_device_option::fix_id_> opts_by_fix_id_;
    place_index<_device_option, &_device_option::name_> retired_by_name_;
    place_index<_cur_val, &_cur_val::name> cur_vals_by_name_;

    const std::uint64_t serial_ = next_serial(); // of all records that the process ever had, from 1
    static std::uint64_t next_serial();
};

// An opened device across calls into the driver. Any of them may come back through the frontend's event function and
// close the device, open another one under the same driver handle, reload its options, or exit. A function that
// calls the driver keeps one of these. After the call it uses nothing that it looked up before, and asks for the record
// again.
class opened_device {
public:
    // The device that is open under a driver handle, if there is one.
    explicit opened_device(void *scanner);
    explicit opened_device(const _dev_inst &record) : scanner_(record.dev_), serial_(record.serial_) {}

    [[nodiscard]] void *scanner() const { return scanner_; }
    [[nodiscard]] _dev_inst *record() const; // null when the device is not open

    // Whether it was open when this was made, and is not any more. There is no further driver call for it then.
    [[nodiscard]] bool was_closed() const { return serial_ != 0 && record() == nullptr; }

private:
    void *scanner_;
    std::uint64_t serial_ = 0; // 0 for none
};

#endif
