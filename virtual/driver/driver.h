// SPDX-License-Identifier: MIT
// The virtual driver as a whole: from initialisation to its end, the devices it sees and those that are open.
#ifndef PELSANE_VIRTUAL_DRIVER_H
#define PELSANE_VIRTUAL_DRIVER_H

#include "events.h"
#include "handle_table.h"
#include "information.h"
#include "profile.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace virtual_scanner {

class driver {
public:
    // Made on first use, ended when the library is unloaded.
    static driver &instance();

    // Who uses the driver, for the log; noted at each initialisation.
    void set_user(const char *name, const char *version);

    // Reads the profile and starts the event thread. A second call does nothing. 0 also when the profile is unusable,
    // which is logged: enumerating and opening answer for it with 256.
    [[nodiscard]] int initialize(kx_event_callback callback, void *parameter);

    // Closes every device and ends the event thread. 268, with nothing done, when called by an event's callback.
    [[nodiscard]] int uninitialize();

    // 276 before initialisation; else as kx_scanner_enum and kx_scanner_open.
    [[nodiscard]] int enumerate(void *records, int *count);
    [[nodiscard]] int open(void **handle, const char *name);

    // The "drv-log" text, which is the driver's and not a device's: as kx_scanner_get_parameter and _set_parameter.
    [[nodiscard]] int get_log_text(void *data, long *length);
    [[nodiscard]] int set_log_text(const void *data, const long *length);

    handle_table &handles() { return handles_; }

private:
    std::mutex lock_; // over the five below
    std::string user_;
    std::shared_ptr<void> log_;
    bool initialized_ = false;
    std::shared_ptr<const profile> profile_; // null when it is unusable
    std::optional<information> information_; // the driver's own, without it likewise
    events events_;
    handle_table handles_;
};

} // namespace virtual_scanner

#endif
