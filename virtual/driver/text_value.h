// SPDX-License-Identifier: MIT
// A text among the values that a variant may hold.
#ifndef PELSANE_VIRTUAL_TEXT_VALUE_H
#define PELSANE_VIRTUAL_TEXT_VALUE_H

#include <string>
#include <utility>

namespace virtual_scanner {

// Not a std::string itself: GNU's library takes a variant with one for a variant that always holds something, and when
// memory is too short for a copy, it destroys what was never made.
struct text_value : std::string {
    using std::string::string;
    text_value(std::string text) : std::string(std::move(text)) {}
};

} // namespace virtual_scanner

#endif
