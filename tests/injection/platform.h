// SPDX-License-Identifier: MIT
// The platform libraries as the backend reaches them here: every call goes on to the scripted platform, but one of the
// driver's can be made to fail or to tell a wrong length. Their own allocations are not the backend's.
#ifndef PELSANE_TESTS_INJECTION_PLATFORM_H
#define PELSANE_TESTS_INJECTION_PLATFORM_H

#include <cstddef>
#include <string>
#include <vector>

namespace faulty_driver {

// One call that answers a code. Its length or count: `room` on entry, `length` on return.
struct call {
    std::string function; // without "kx_scanner_"
    std::string option;   // the key of get_parameter and set_parameter as a text
    bool has_length;
    long room;
    long length;
    int code;
};

// Forgets the calls and lets all of them succeed.
void reset();
const std::vector<call> &calls(); // since the reset, in order

// The nth call (0: the first) answers a code and does nothing, or does its work and tells a length.
void replace_code(std::size_t nth, int code);
void replace_length(std::size_t nth, long length);

// Devices that the backend has opened and not closed since the reset.
long open_devices();

// Calls what the backend has registered for changes of the language, as the language library does.
void change_language();

} // namespace faulty_driver

#endif
