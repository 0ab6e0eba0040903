// SPDX-License-Identifier: MIT
// How a device behaves beside its options: who may open it, how fast it is, what lies in its feeder and on its glass.
// Tested by driver_profile_test.
#include "feeder.h"
#include "profile.h"
#include "profile_reader.h"

#include <charconv>
#include <string_view>

namespace virtual_scanner {

namespace {

struct access_name {
    std::string_view name;
    access_rule rule;
};

constexpr access_name access_names[] = {
    {"open", access_rule::open}, {"asks-once", access_rule::asks_once}, {"denied", access_rule::denied}};

access_rule read_access(const profile_node &node)
{
    const auto *entry = find_name(access_names, node.text());
    if (entry == nullptr)
        node.fail("\"open\", \"asks-once\" or \"denied\" is expected");
    return entry->rule;
}

double read_speed(const profile_node &node)
{
    const double speed = node.number();
    const bool is_within = speed >= 0.01 && speed <= 100000;
    if (!is_within)
        node.fail("a speed is 0.01 to 100000 pages per minute");
    return speed;
}

// It is looked into when a job starts, so that it may come to be later.
std::string read_folder(const profile_node &node)
{
    std::string folder = node.text();
    if (folder.empty() || folder.find('\0') != std::string::npos)
        node.fail("a folder is expected");
    return folder;
}

sheet_source read_source(const profile_node &node)
{
    if (node.value().is_string() && node.text() == "document")
        return {};
    if (!node.value().is_object() || node.size() != 1)
        node.fail("\"document\", a folder or a colour is expected");
    node.expect_keys({"folder", "color"});
    sheet_source source;
    if (node.has("color"))
        source.color = read_color(node.at("color"));
    else
        source.folder = read_folder(node.at("folder"));
    return source;
}

feeder_properties read_feeder(const profile_node &node)
{
    node.expect_keys({"source", "sheets", "endless"});
    feeder_properties feeder;
    if (node.has("source"))
        feeder.source = read_source(node.at("source"));
    if (node.has("sheets") && !feeder.source.folder.empty())
        node.at("sheets").fail("a folder has as many sheets as images");
    if (node.has("sheets"))
        feeder.sheets = node.at("sheets").integer(0, 1000);
    feeder.endless = node.boolean_or("endless", false);
    return feeder;
}

sheet_source read_flatbed(const profile_node &node)
{
    node.expect_keys({"source"});
    return read_source(node.at("source"));
}

} // namespace

sheet_color read_color(const profile_node &node)
{
    const std::string text = node.text();
    unsigned int value = 0;
    const auto end = text.data() + text.size();
    if (text.size() != 7 || text[0] != '#' || std::from_chars(text.data() + 1, end, value, 16).ptr != end)
        node.fail("a colour is written as \"#ffcc00\"");
    return {static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8),
            static_cast<unsigned char>(value)};
}

void read_behaviour(profile &result, const profile_node &root)
{
    if (root.has("access"))
        result.access = read_access(root.at("access"));
    if (root.has("pages_per_minute"))
        result.pages_per_minute = read_speed(root.at("pages_per_minute"));
    if (root.has("feeder"))
        result.feeder = read_feeder(root.at("feeder"));
    if (root.has("flatbed"))
        result.glass = read_flatbed(root.at("flatbed"));
}

} // namespace virtual_scanner
