// SPDX-License-Identifier: MIT
// One option of a scanner as it is at a moment: its descriptor and its values, owned and ready to be printed or
// compared.
#ifndef PELSANE_INSPECT_OPTION_H
#define PELSANE_INSPECT_OPTION_H

#include "output.h"
#include "scanner.h"

#include <sane/sane.h>

#include <cstddef>
#include <string>
#include <vector>

namespace inspect {

struct option {
    int number;
    std::string name;
    int fixed_id; // 0 for none
    std::string title;
    std::string description;
    std::string group; // the name of the group that it stands in, empty for none
    SANE_Value_Type type;
    SANE_Unit unit;
    int size;
    SANE_Int capabilities;
    json_value constraint;    // null, {"min", "max", "step"}, or a list of values
    json_value current;       // a number, a text, true or false; null when it has none or cannot be read
    json_value default_value; // as current
    bool well_known;          // one that the backend adds to the driver's

    [[nodiscard]] bool is_active() const { return (capabilities & SANE_CAP_INACTIVE) == 0; }
    [[nodiscard]] bool is_group() const { return type == SANE_TYPE_GROUP; }
    [[nodiscard]] bool has_value() const { return type != SANE_TYPE_GROUP && type != SANE_TYPE_BUTTON; }
};

// All options but the one with number 0, in the order of their numbers. What the driver describes wrongly has no
// descriptor and is left out. Throws failure.
[[nodiscard]] std::vector<option> read_options(const scanner &device);

// The option that the user means by a name, a number or a well-known identifier, in this order where a driver lets one
// text be several of them. Throws failure.
[[nodiscard]] const option &option_named(const std::vector<option> &options, const std::string &given);

// A value of an option: a word in SANE's form or a text, which may end at `size` without a NUL.
[[nodiscard]] json_value value_in_json(SANE_Value_Type type, const void *value, std::size_t size);

// A value, or null as "-", as a user reads it.
[[nodiscard]] std::string value_text(const json_value &value);
[[nodiscard]] std::string constraint_text(const json_value &constraint);

// Words of the SANE standard, in lower case.
[[nodiscard]] std::string type_text(SANE_Value_Type type);
[[nodiscard]] std::string unit_text(SANE_Unit unit);
[[nodiscard]] std::vector<std::string> capability_words(SANE_Int capabilities);

// All of it, for scripts. A member for each field, the values last.
[[nodiscard]] json_value as_json(const option &described);

} // namespace inspect

#endif
