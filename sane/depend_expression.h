// SPDX-License-Identifier: MIT
// Records of option dependencies: an option (slave) is active while conditions on other options (masters) hold.
#ifndef PELSANE_DEPEND_EXPRESSION_H
#define PELSANE_DEPEND_EXPRESSION_H

#include <string>
#include <vector>

// The cached current value of one option, as text: an int as "%d", another number as "%f", a bool as "true" or
// "false", a string translated.
struct _cur_val {
    std::string name;
    std::string type; // the option's "type" word
    std::string val;
};

// A test of a master's value text against the limits of its condition.
using value_comparison = bool (*)(const char *cur, const char *l, const char *r);

struct _master_option {
    std::string name;
    std::string limit_l; // comparand, or lower limit of a range
    std::string limit_r; // upper limit of a range
    value_comparison compare_val = nullptr;
};

struct _slave_option {
    std::string name;
    bool enable_now = true;             // as decided last
    std::vector<_master_option> master; // in the order of the driver's list
    bool (*is_enable)(void *scanner_handle, const std::vector<_master_option> &masters,
                      std::vector<_cur_val> &cur_vals) = nullptr;
};

#endif
