// SPDX-License-Identifier: MIT
// The faults of all devices by name, and those of the driver's own calls.
#ifndef PELSANE_VIRTUAL_FAULT_BOOK_H
#define PELSANE_VIRTUAL_FAULT_BOOK_H

#include "command.h"
#include "faults.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace virtual_scanner {

// Safe from any thread.
class fault_book {
public:
    // Takes over the faults that PELVIRTUAL_FAULTS names, unless that was done since the last reset. A text that cannot
    // be understood is logged with place and reason, and none of it is used.
    void load();
    void reset();

    // Sets or ends faults: of the device that the command names, or of every device, also of those that come later.
    // The commands of a device that comes later wait for it. An event is not for here: false.
    bool apply(const command &given);

    // The device's faults, with those of its profile when it is asked for first. Stays the same until a reset.
    std::shared_ptr<device_faults> of(const std::string &device, const std::vector<command> &own);

    // The devices that were asked for, those that have gone included.
    std::vector<std::string> devices();

    // The events that are to come whenever the device is opened: its profile's and those that PELVIRTUAL_FAULTS names.
    std::vector<event_order> events_of(const std::string &device, const std::vector<command> &own);

    // What initialize or enumerate is to answer, none when it is not touched. It counts as made.
    std::optional<int> take_answer(driver_call call);

private:
    void keep_event(const command &given);
    void keep_waiting(const command &given);

    std::mutex lock_; // over the next four
    bool is_loaded_ = false;
    std::vector<command> events_;  // of the environment
    std::vector<command> waiting_; // for devices that come later
    std::map<std::string, std::shared_ptr<device_faults>> devices_;
    device_faults driver_;
};

} // namespace virtual_scanner

#endif
