// SPDX-License-Identifier: MIT
// Access to a profile's JSON: a value of the wrong kind ends in a profile_error that names its place.
#include "profile_reader.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace virtual_scanner {

void profile_node::fail(const std::string &reason) const
{
    throw profile_error(place_ + ": " + reason);
}

profile_node profile_node::at(const char *key) const
{
    if (!value_.is_object())
        fail("an object is expected");
    const auto found = value_.find(key);
    if (found == value_.end())
        fail("\"" + std::string(key) + "\" is missing");
    return {*found, place_ + "/" + key};
}

profile_node profile_node::at(std::size_t index) const
{
    return {value_.at(index), place_ + "/" + std::to_string(index)};
}

void profile_node::expect_keys(std::initializer_list<const char *> known) const
{
    each_member([&](const std::string &key, const profile_node &member) {
        if (std::find(known.begin(), known.end(), std::string_view(key)) == known.end())
            member.fail("unknown key");
    });
}

void profile_node::expect_array() const
{
    if (!value_.is_array())
        fail("a list is expected");
}

std::string profile_node::text() const
{
    if (!value_.is_string())
        fail("a text is expected");
    return value_.get<std::string>();
}

bool profile_node::boolean() const
{
    if (!value_.is_boolean())
        fail("true or false is expected");
    return value_.get<bool>();
}

int profile_node::integer(int min, int max) const
{
    if (!value_.is_number())
        fail("an integer is expected");
    const auto number = value_.get<double>(); // exact for what is in bounds, and too large for what is not
    if (number != std::trunc(number))
        fail("an integer is expected");
    if (number < min || number > max)
        fail("the number is out of bounds");
    return static_cast<int>(number);
}

double profile_node::number() const
{
    if (!value_.is_number())
        fail("a number is expected");
    return value_.get<double>();
}

} // namespace virtual_scanner
