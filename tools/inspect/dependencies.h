// SPDX-License-Identifier: MIT
// What decides whether an option is active: the backend's own conditions, with their state at a moment.
#ifndef PELSANE_INSPECT_DEPENDENCIES_H
#define PELSANE_INSPECT_DEPENDENCIES_H

#include "json.h"
#include "scanner.h"

#include <string>
#include <vector>

struct _master_option;

namespace inspect {

enum class condition_state {
    met,
    not_met,
    master_inactive, // which is as good as not met
    no_value,        // the master has none: met where all conditions have to be, else not
};

struct condition {
    std::string master;
    std::string test;  // without the master: "==Gray", "==[100,600]"
    std::string value; // of the master, as it is compared
    condition_state state;
};

struct dependency {
    std::string option;
    bool all; // have to hold; false: one is enough
    std::vector<condition> conditions;

    // Whether the conditions, as they stand, make the option active.
    [[nodiscard]] bool is_satisfied() const;
};

// The dependencies of all options that have any, in the order in which the driver describes them.
[[nodiscard]] std::vector<dependency> read_dependencies(const scanner &device);

// Null when the option always applies.
[[nodiscard]] const dependency *dependency_of(const std::vector<dependency> &dependencies, const std::string &option);

// A condition without its master's name: "==Gray".
[[nodiscard]] std::string test_text(const _master_option &condition);

// "met", "not-met", "inactive", "no-value", for scripts.
[[nodiscard]] std::string state_word(condition_state state);

// The conditions of a description that the backend ignores: the first malformed one and all after it.
[[nodiscard]] std::vector<std::string> ignored_conditions(const json &description);

} // namespace inspect

#endif
