// SPDX-License-Identifier: MIT
// The application of the grid: what it has open, the entry points that it calls, and what it calls from within them.
#ifndef PELSANE_REENTRANCY_FRONTEND_H
#define PELSANE_REENTRANCY_FRONTEND_H

#include "sane_ex.h"

#include <functional>
#include <string>
#include <vector>

// How nested calls come in: by the frontend's event function, which it registers with init_ex; or straight, since with
// one registered there are no well-known options.
enum class route { by_event, straight };

struct frontend {
    route by = route::by_event;
    SANE_Handle first = nullptr; // the device that entry points are about
    SANE_Handle second = nullptr;
    bool opens = false; // the entry point under way opens a device, and that is the one that it is about
    const SANE_Option_Descriptor *nested_look_up = nullptr; // of "late"

    SANE_Status init() const;
    [[nodiscard]] SANE_Handle own() const;
};

// What an entry point returned. A void one is good; a descriptor is good unless it is null.
struct outcome {
    int status = 0;
    SANE_Int info = 0;
    const SANE_Option_Descriptor *descriptor = nullptr;
    std::string value; // the begin of the value buffer
};

// What an entry point owes when its device is closed within one of its driver calls.
enum class duty {
    none,       // it is about no device
    list,       // the same, and only the object's end is its own: a list that came in its last driver call
    value,      // a value that came in its last driver call
    write,      // what the driver answered to the write
    descriptor, // nothing: a closed device has none
    device,     // nothing: the device is closed
    answer      // what its first driver call answered
};

struct entry_point {
    std::string name;
    duty owed;
    std::function<outcome(frontend &)> call;
    std::function<void()> prepare = nullptr; // behind the opens
    bool starts_driver = false;              // runs without anything open
    bool may_follow = false;                 // to devices that are opened within
    bool needs_well_known = false;
    bool switches_flag = false; // and with it what depends on "flag", with no reload behind it
};
const std::vector<entry_point> &entry_points();

struct nested_call {
    std::string name;
    std::function<void(frontend &)> call;
    bool ends_object = false;          // the object is another one, or none, behind it
    const char *only_within = nullptr; // an entry point
    bool reads_texts = false;          // all options, and so the states that they tell
    bool loses_options = false;        // so that what is about one of them fails, one way or another
};
const std::vector<nested_call> &nested_calls();
inline constexpr const char *nested_switch = "set that switches others"; // "after-switch"

// Scripts the platform anew.
void script_platform();
inline constexpr int option_count = 12; // as the driver tells it
inline constexpr int duplex_number = 12;
inline constexpr int page_width_number = 13;
inline constexpr int late_number = 20; // of "late", which only a look-up finds

#endif
