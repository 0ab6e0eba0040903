// SPDX-License-Identifier: MIT
// The virtual driver as a whole: from initialisation to its end, the devices it sees and those that are open.
#ifndef PELSANE_VIRTUAL_DRIVER_H
#define PELSANE_VIRTUAL_DRIVER_H

#include "control.h"
#include "devices.h"
#include "events.h"
#include "fault_book.h"
#include "handle_table.h"
#include "information.h"
#include "kx_scanner.h"
#include "profile.h"
#include "service.h"

#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace virtual_scanner {

class driver {
public:
    // Made on first use, ended when the library is unloaded.
    static driver &instance();

    // Who uses the driver, for the log; noted at each initialisation.
    void set_user(const char *name, const char *version);

    // Reads the profiles and starts the event thread. A second call does nothing. 0 also when no profile can be used,
    // which is logged: enumerating and opening answer for it with 256.
    [[nodiscard]] int initialize(kx_event_callback callback, void *parameter);

    // Closes every device and ends the event thread. 268, with nothing done, when called by an event's callback.
    [[nodiscard]] int uninitialize();

    // 276 before initialisation; else as kx_scanner_enum and kx_scanner_open. An empty name opens the first device.
    [[nodiscard]] int enumerate(void *records, int *count);
    [[nodiscard]] int open(void **handle, const char *name, bool &need_auth);

    // The "drv-log" text, which is the driver's and not a device's: as kx_scanner_get_parameter and _set_parameter.
    [[nodiscard]] int get_log_text(void *data, long *length);
    [[nodiscard]] int set_log_text(const void *data, const long *length);

    handle_table &handles() { return handles_; }
    devices &known_devices() { return devices_; }
    fault_book &faults() { return faults_; }

private:
    int begin(kx_event_callback callback, void *parameter);
    void forget_devices();
    void start_service(kx_event_callback callback, void *parameter);
    bool has_events();
    std::vector<device> present_devices();
    std::shared_ptr<const profile> first_present();
    bool grants_access(const profile &description, bool &need_auth);

    std::mutex lock_; // over the five below
    std::string user_;
    std::shared_ptr<void> log_;
    bool initialized_ = false;
    std::set<std::string> asked_;            // the devices that asked for access, as long as the library is loaded
    std::optional<information> information_; // the driver's own: that of the first device, or of the built-in profile
    devices devices_;
    fault_book faults_;
    events events_;
    handle_table handles_;
    control control_{devices_, faults_, handles_, events_, service_};
    service service_{events_}; // ends first, since its thread uses the others
};

} // namespace virtual_scanner

#endif
