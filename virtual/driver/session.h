// SPDX-License-Identifier: MIT
// One opened device: its settings, its feeder and the page that is being delivered.
#ifndef PELSANE_VIRTUAL_SESSION_H
#define PELSANE_VIRTUAL_SESSION_H

#include "events.h"
#include "feeder.h"
#include "image_info.h"
#include "information.h"
#include "option_store.h"
#include "page.h"
#include "profile.h"
#include "stop_flag.h"

#include <cstddef>
#include <memory>
#include <optional>

namespace virtual_scanner {

// Used by one thread at a time; a stop comes through the flag, from anywhere.
class session {
public:
    session(std::shared_ptr<const profile> description, std::uintptr_t handle, stop_flag &stop, events &reports);

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
    std::optional<page> scan_next(const page_settings &settings);
    int begin_job();
    int end_job(int answer);
    void drop_finished_page();
    bool is_stop_requested() const { return stop_.is_requested(handle_); }
    bool take_stop();
    image_info describe_image() const;
    void post(int event);

    std::shared_ptr<void> log_;
    std::shared_ptr<const profile> description_;
    std::uintptr_t handle_;
    stop_flag &stop_;
    events &reports_;
    option_store options_;
    information information_;
    feeder feeder_;
    bool in_job_ = false;
    int pages_ = 0; // of the job
    std::optional<page> page_;
    std::size_t delivered_ = 0; // bytes of the page
    bool is_finished_ = false;  // the page's end was told
};

} // namespace virtual_scanner

#endif
