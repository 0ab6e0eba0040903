// SPDX-License-Identifier: MIT
// What comes from outside while the driver is in use: commands, events that are due, folders that changed.
#ifndef PELSANE_VIRTUAL_CONTROL_H
#define PELSANE_VIRTUAL_CONTROL_H

#include "command.h"
#include "devices.h"
#include "events.h"
#include "fault_book.h"
#include "handle_table.h"
#include "service.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace virtual_scanner {

// Used on the service thread; arranging is for any.
class control {
public:
    control(devices &known, fault_book &faults, handle_table &opened, events &reports, service &timer)
        : known_(known), faults_(faults), opened_(opened), reports_(reports), timer_(timer)
    {
    }

    // Carries out a line of commands, all or, with a mistake in it, none; of too many events those that there is room
    // for. Answers "ok", "error: " with the reason, or in one line what "devices" and "help" ask for.
    std::string obey(std::string_view line);

    // The events come in their time as long as the handle is open, and are reported to it alone.
    void arrange(const std::vector<event_order> &orders, const std::string &device, void *handle);

    // Reads the profiles again. A device whose profile is gone has vanished, one whose profile came back has returned;
    // with any change the application gets the notice.
    void look_at_profiles();

private:
    struct receiver {
        std::string device; // empty: every one
        void *handle;       // of the device; null: all that are open
    };

    void unplug_absent();
    void carry_out(const std::vector<command> &commands);
    bool arrange(const event_order &order, const receiver &whom, service::clock::time_point time);
    void happen(const event_order &order, const receiver &whom);
    void end_events(const std::string &device);
    int clearings_of(const std::string &device);
    [[nodiscard]] std::string list_devices() const;

    devices &known_;
    fault_book &faults_;
    handle_table &opened_;
    events &reports_;
    service &timer_;
    std::mutex lock_;                      // over the next
    std::map<std::string, int> clearings_; // how often the events of a device, or of every one, were ended
};

} // namespace virtual_scanner

#endif
