// SPDX-License-Identifier: MIT
// Setting options as the user writes it: NAME=VALUE, and what it did.
#ifndef PELSANE_INSPECT_SETTING_H
#define PELSANE_INSPECT_SETTING_H

#include "option.h"
#include "output.h"
#include "scanner.h"

#include <sane/sane.h>

#include <string>
#include <vector>

namespace inspect {

struct setting {
    std::string name; // also a number or a well-known identifier
    std::string value;
};

// Throws failure when the text has no "=". An empty value presses a button.
[[nodiscard]] setting setting_of(const std::string &assignment);

struct setting_outcome {
    std::string name;
    json_value asked;
    json_value applied; // what the driver made of it, as it answered
    SANE_Int info;      // SANE_INFO_*
};

// Sets one option. Throws failure when there is none, the value is none of its type, or the scanner refuses it.
setting_outcome apply(const scanner &device, const std::vector<option> &options, const setting &wanted);

// Sets options one after the other ("NAME=VALUE"), before a command does its work.
void apply_all(const scanner &device, const std::vector<std::string> &assignments);

struct change {
    std::string option;
    std::string field; // as in the option's JSON; "exists" for one that came or went
    json_value before;
    json_value after;
};

// What differs between two readings, in the order of the options.
[[nodiscard]] std::vector<change> changes_between(const std::vector<option> &before, const std::vector<option> &after);

} // namespace inspect

#endif
