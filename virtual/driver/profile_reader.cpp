// SPDX-License-Identifier: MIT
// Access to a profile's JSON: a value of the wrong kind ends in a profile_error that names its place.
#include "profile_reader.h"

#include "profile.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <future>
#include <initializer_list>
#include <langinfo.h>
#include <locale.h>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace virtual_scanner {

namespace {

// Follows the parser along: of a key that stands twice in an object it keeps one and says nothing.
class key_watch {
public:
    void follow(json::parse_event_t event, const json &parsed)
    {
        switch (event) {
        case json::parse_event_t::key:
            enter_member(parsed.get<std::string>());
            break;
        case json::parse_event_t::object_start:
        case json::parse_event_t::array_start:
            count_element();
            open_.emplace_back();
            break;
        case json::parse_event_t::object_end:
        case json::parse_event_t::array_end:
            open_.pop_back();
            break;
        case json::parse_event_t::value:
            count_element();
            break;
        }
    }

private:
    struct container {
        std::set<std::string> keys; // of a list: none
        std::string key;            // where the parser is
        std::size_t elements = 0;
    };

    void enter_member(std::string key)
    {
        container &object = open_.back();
        object.key = std::move(key);
        if (!object.keys.insert(object.key).second)
            throw profile_error(place() + ": the key stands there twice");
    }

    void count_element()
    {
        if (!open_.empty())
            ++open_.back().elements;
    }

    std::string place() const
    {
        std::string path;
        for (const container &each : open_)
            path += "/" + (each.keys.empty() ? std::to_string(each.elements - 1) : each.key);
        return path;
    }

    std::vector<container> open_;
};

} // namespace

// The parser reads fractions as the locale has them, and knows decimal points of one byte. Where the point is longer,
// as under ps_AF, a thread of its own works in the C locale: the host's is not this library's to change.
template <typename Work> auto where_points_are_short(Work work)
{
    if (std::strlen(nl_langinfo(RADIXCHAR)) <= 1) // NOLINT(concurrency-mt-unsafe): glibc's is safe
        return work();
    return std::async(std::launch::async,
                      [&work] {
                          static const locale_t c_locale =
                              newlocale(LC_ALL_MASK, "C", nullptr); // never freed: a constant
                          uselocale(c_locale);
                          return work();
                      })
        .get();
}

json parse_json(std::string_view text)
{
    return where_points_are_short([text] {
        key_watch watch;
        return json::parse(text, [&](int, json::parse_event_t event, const json &parsed) {
            watch.follow(event, parsed);
            return true;
        });
    });
}

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
