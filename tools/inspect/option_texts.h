// SPDX-License-Identifier: MIT
// Options as their driver describes them, before the backend makes anything of it.
#ifndef PELSANE_INSPECT_OPTION_TEXTS_H
#define PELSANE_INSPECT_OPTION_TEXTS_H

#include "json.h"
#include "scanner.h"

#include <string>
#include <vector>

namespace inspect {

struct option_text {
    int number;
    std::string name;
    std::string description; // empty when the driver gives none
};

// All options of a scanner, in the order of their numbers, with their values as they are now.
[[nodiscard]] std::vector<option_text> texts_of(const scanner &device);

// Those in a file: a profile of a virtual scanner, or texts as a driver gives them, `"name" : {...}`, one a line. What
// a profile leaves to the virtual scanner is added as that does it. Throws failure.
[[nodiscard]] std::vector<option_text> texts_in_file(const std::string &path);

// The texts of the item at a path of a description, which is a list or a single value.
[[nodiscard]] std::vector<std::string> list_in(const json &description, const char *path);

// The key of a description's conditions that counts, null when there are none.
[[nodiscard]] const char *rule_in(const json &description);

} // namespace inspect

#endif
