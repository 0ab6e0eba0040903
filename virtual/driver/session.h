// SPDX-License-Identifier: MIT
// One opened device: its settings, its feeder and the page that is being delivered.
#ifndef PELSANE_VIRTUAL_SESSION_H
#define PELSANE_VIRTUAL_SESSION_H

#include "command.h"
#include "events.h"
#include "faults.h"
#include "feeder.h"
#include "image_info.h"
#include "information.h"
#include "option_key.h"
#include "option_store.h"
#include "page.h"
#include "page_settings.h"
#include "profile.h"
#include "stop_flag.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace virtual_scanner {

// Used by one thread at a time; a stop comes through the flag, from anywhere.
class session {
public:
    session(std::shared_ptr<const profile> description, std::shared_ptr<device_faults> faults, std::uintptr_t handle,
            stop_flag &stop, events &reports);

    // Whether the next two have anything to do. Takes no lock.
    [[nodiscard]] bool has_faults() const noexcept { return faults_->any(); }

    // Makes a call on the device, of which `option` is the key, and answers its code, or what a fault answers instead.
    [[nodiscard]] int answer_with_faults(driver_call call, const void *option, const std::function<int()> &make);

    // What closing the device is to answer. It closes in any case.
    [[nodiscard]] int answer_to_close();

    [[nodiscard]] const std::string &device_name() const { return description_->device.name; }

    // As the kx_scanner_* functions of these names; null buffers and counts are answered here.
    [[nodiscard]] int get_parameter(const void *option, void *data, long *length, int *id) const;
    [[nodiscard]] int set_parameter(const void *option, void *data, const long *length);
    [[nodiscard]] int control(unsigned long code, const void *data);
    [[nodiscard]] int image_info_of(void *info, int size) const;

    // Prepares the next page. A page that was not read to its end is given up. 0xDE07 after the last page, 269 for a
    // side whose file cannot be read (the next start goes on after it), 2 when a stop comes meanwhile.
    [[nodiscard]] int start();

    // Delivers the page: 0 with at least one byte, 266 at its end, again and again until an option is set, 268 without
    // a page, 2 once after a stop. *count is 0 with every code but 0.
    [[nodiscard]] int read(void *data, long *count);

private:
    std::optional<page> scan_next(const page_settings &settings, int &answer);
    void wait_out(std::chrono::milliseconds time, int recoveries);
    std::optional<int> meet_start_faults(int sheets);
    std::optional<int> meet_page_faults(int bytes_per_line, std::size_t &amount);
    [[nodiscard]] int page_of(driver_call call) const;
    [[nodiscard]] std::string name_of(const option_key &key) const;
    int deliver_option(const option_key &key, void *data, long *length) const;
    int begin_job(bool from_glass);
    void finish_job();
    int end_job(int answer);
    void drop_finished_page();
    bool is_stop_requested() const { return stop_.is_requested(handle_); }
    bool take_stop();
    image_info describe_image() const;
    void post(int event);

    std::shared_ptr<void> log_;
    std::shared_ptr<const profile> description_;
    std::shared_ptr<device_faults> faults_;
    std::uintptr_t handle_;
    stop_flag &stop_;
    events &reports_;
    option_store options_;
    information information_;
    feeder feeder_;
    bool in_job_ = false;
    bool is_from_glass_ = false; // the job
    int pages_ = 0;              // of the job
    job_progress progress_;      // likewise, as the faults see it
    std::optional<page> page_;
    std::size_t delivered_ = 0; // bytes of the page
    bool is_finished_ = false;  // the page's end was told
};

} // namespace virtual_scanner

#endif
