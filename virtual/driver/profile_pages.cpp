// SPDX-License-Identifier: MIT
// "pages" of a profile: the state of the sheets. Every key may be left out. Tested by driver_wear_test.
#include "page_wear.h"
#include "profile_reader.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace virtual_scanner {

namespace {

constexpr double most_skewed = 5;    // degrees; beyond it a scanner has a jam
constexpr double largest_fold = 100; // millimetres
constexpr int lightest_behind = 64;  // a lighter one could not be told from the paper

double number_within(const profile_node &node, double least, double most)
{
    const double number = node.number();
    const bool is_within = number >= least && number <= most;
    if (!is_within)
        node.fail("the number is out of bounds");
    return number;
}

struct edge_name {
    std::string_view name;
    sheet_edge edge;
};

constexpr std::array<edge_name, 4> edges{{{"left", sheet_edge::left},
                                          {"top", sheet_edge::top},
                                          {"right", sheet_edge::right},
                                          {"bottom", sheet_edge::bottom}}};

punched_holes read_holes(const profile_node &node)
{
    node.expect_keys({"count", "side"});
    punched_holes holes;
    holes.count = node.at("count").integer(0, 20);
    if (node.has("side")) {
        const edge_name *known = find_name(edges, node.at("side").text());
        if (known == nullptr)
            node.at("side").fail("a sheet's sides are left, top, right and bottom");
        holes.side = known->edge;
    }
    return holes;
}

dog_ears read_dog_ears(const profile_node &node)
{
    node.expect_keys({"size_mm", "every"});
    dog_ears folded;
    folded.size_mm = number_within(node.at("size_mm"), 1, largest_fold);
    if (node.has("every"))
        folded.every = node.at("every").integer(1, 1000000);
    return folded;
}

} // namespace

page_wear read_page_wear(const profile_node &node)
{
    node.expect_keys({"seed", "skew_degrees", "holes", "blank_backs", "staples", "background", "shine_through",
                      "dog_ear", "noise", "dust", "behind"});
    page_wear wear;
    const auto take = [&](const char *key, int &value, int most) {
        if (node.has(key))
            value = node.at(key).integer(0, most);
    };
    if (node.has("seed"))
        wear.seed = static_cast<std::uint64_t>(node.at("seed").integer(0));
    if (node.has("skew_degrees"))
        wear.skew_degrees = number_within(node.at("skew_degrees"), 0, most_skewed);
    if (node.has("holes"))
        wear.holes = read_holes(node.at("holes"));
    if (node.has("background"))
        wear.background = read_color(node.at("background"));
    if (node.has("shine_through"))
        wear.shine_through = number_within(node.at("shine_through"), 0, 1);
    if (node.has("dog_ear"))
        wear.folded = read_dog_ears(node.at("dog_ear"));
    take("blank_backs", wear.blank_backs, 1000000);
    take("staples", wear.staples, 1000000);
    take("noise", wear.noise, 64);
    take("dust", wear.dust, 100000);
    take("behind", wear.behind, lightest_behind);
    return wear;
}

} // namespace virtual_scanner
