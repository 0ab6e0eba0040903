// SPDX-License-Identifier: MIT
// Typed access to a profile's JSON that knows where it is, so that every complaint names the place.
#ifndef PELSANE_VIRTUAL_PROFILE_READER_H
#define PELSANE_VIRTUAL_PROFILE_READER_H

#include "command.h"
#include "feeder.h"
#include "option.h"
#include "page_wear.h"
#include "profile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace virtual_scanner {

using json = nlohmann::ordered_json;

// The text's JSON. Throws json::exception for what is none, profile_error for an object with the same key twice.
json parse_json(std::string_view text);

// A JSON value and the place where it stands. Borrows the value.
class profile_node {
public:
    profile_node(const json &value, std::string place) : value_(value), place_(std::move(place)) {}

    [[noreturn]] void fail(const std::string &reason) const;

    bool has(const char *key) const { return value_.contains(key); }
    profile_node at(const char *key) const;
    profile_node at(std::size_t index) const;
    std::size_t size() const { return value_.size(); }
    const json &value() const { return value_; }

    // Complains about a member that the format does not have: a misspelt key would silently do nothing.
    void expect_keys(std::initializer_list<const char *> known) const;
    void expect_array() const;

    std::string text() const;
    bool boolean() const;
    int integer(int min = std::numeric_limits<int>::min(), int max = std::numeric_limits<int>::max()) const;
    double number() const;

    bool boolean_or(const char *key, bool otherwise) const { return has(key) ? at(key).boolean() : otherwise; }

    // Calls visit(key, node) for each member of an object.
    template <typename Visit> void each_member(Visit visit) const
    {
        if (!value_.is_object())
            fail("an object is expected");
        for (const auto &item : value_.items())
            visit(item.key(), profile_node(item.value(), place_ + "/" + item.key()));
    }

private:
    const json &value_;
    std::string place_;
};

// The entry of a table whose entries have a `name`, null when there is none.
template <typename Table> const auto *find_name(const Table &table, std::string_view name)
{
    const auto found =
        std::find_if(std::begin(table), std::end(table), [&](const auto &entry) { return entry.name == name; });
    return found == std::end(table) ? nullptr : &*found;
}

// Whether the option's constraint allows a value of its type.
bool allows(const option_definition &option, const option_value &value);

// "means" and "meanings" of an option whose type and values are read.
void read_role(option_definition &option, const profile_node &node);

// "access", "pages_per_minute", "feeder" and "flatbed", each as it is without the key.
void read_behaviour(profile &result, const profile_node &root);

// A colour, "#rrggbb".
sheet_color read_color(const profile_node &node);

// "pages": the state of the sheets.
page_wear read_page_wear(const profile_node &node);

// "faults".
std::vector<command> read_faults(const profile_node &list);

std::vector<option_definition> read_options(const profile_node &list);

} // namespace virtual_scanner

#endif
