// SPDX-License-Identifier: MIT
// What a virtual scanner is told from outside, in words: faults, their ends, and events. The environment, profiles and
// the control socket speak this one language, which is described in virtual/README.md.
#ifndef PELSANE_VIRTUAL_COMMAND_H
#define PELSANE_VIRTUAL_COMMAND_H

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace virtual_scanner {

inline constexpr int always = -1; // as a number of times

// The calls of the driver's interface that can be made to answer something else. A stop is not among them: it is made
// from signal handlers.
enum class driver_call {
    initialize,
    enumerate,
    open,
    close,
    get_parameter,
    set_parameter,
    get_status,
    control,
    start,
    read_img_data,
    get_img_info,
};

// Whether a call is made for no device in particular: initialize, enumerate.
bool is_call_of_driver(driver_call call);

// `set_parameter(resolution) from 3 answers denied 2 times`, `read_img_data at page 2 answers io`, `status 0xDE00`,
// `deny`, `ask`.
struct call_answer {
    driver_call call = driver_call::start;
    std::string option; // its name or number, of get_parameter and set_parameter; empty: any
    int from = 1;       // the first call of this kind that it holds for, counted from when the fault was set
    int page = 0;       // of the job, from 1; 0: any. A start is counted as the page that it would bring.
    int answer = 0;     // instead of making the call; a code of success instead of the call's own success
    bool asks = false;  // of open: with the question for access
    int times = 1;      // or `always`
};

enum class job_unit { lines, pages, sheets };

enum class job_fault_kind {
    jam,         // read answers 0xDE0A
    stall,       // read waits for `time`
    vanish,      // the device is gone until it returns
    double_feed, // start answers 0xDE0A
    empty,       // start answers 0xDE07
    cover_open,  // start answers 0xDE06
    slow_start,  // start waits for `time`
};

// Whether it comes while a page is read, and not at a start.
bool is_in_page(job_fault_kind kind);

// `jam after 100 lines`, `empty after 2 sheets`, `stall 500 ms after 1 page`, `cover open once`, `slow start 300 ms`.
struct job_fault {
    job_fault_kind kind = job_fault_kind::jam;
    int after = 0; // of the job, delivered without the fault
    job_unit unit = job_unit::lines;
    std::chrono::milliseconds time{0};
    int times = 1; // or `always`
};

enum class text_fault_kind {
    broken,       // the JSON ends in the middle
    empty,        // no text at all
    unterminated, // the text fills the buffer, without a NUL
    misnamed,     // under another option's name
    overlong,     // the length told is longer than the buffer
    too_small,    // 258 with a longer length than the text has
};

// What get_parameter makes of an option's text: `garbage(resolution) as misnamed`, `too small(paper) 3 times`.
struct text_fault {
    text_fault_kind kind = text_fault_kind::broken;
    std::string option; // its name or number; empty: any
    int times = 1;      // or `always`
};

// `cover closed`: ends `cover open`. `filled`: ends `empty`. `return`: ends `vanish`. `clear`: ends every fault.
enum class remedy { cover_closed, feeder_filled, device_returned, everything_cleared };

enum class event_kind { button, paper_in, paper_out, cover_open, cover_closed, sleep, wake };

// `event button 2 after 500 ms every 2 s 3 times`, `event 0x123`. Times are counted from when the command is given.
struct event_order {
    std::variant<event_kind, int> event; // or the driver's event code itself
    int button = 1;                      // which one, of a button
    std::chrono::milliseconds after{0};
    std::chrono::milliseconds every{0}; // at least 1 when `times` is not 1
    int times = 1;                      // or `always`
};

struct command {
    std::string device; // its name; empty: every device
    std::variant<call_answer, job_fault, text_fault, remedy, event_order> action;
};

// What is wrong with a text of commands: "line 1, column 7: reason".
struct command_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The commands in their order. They are separated by semicolons or line ends; a word that begins with '#' begins a
// comment up to the end of its line. Throws command_error.
std::vector<command> parse_commands(std::string_view text);

} // namespace virtual_scanner

#endif
