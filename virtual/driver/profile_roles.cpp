// SPDX-License-Identifier: MIT
// What options mean to the scanner. Whatever an option with a meaning allows has to be something that the scanner can
// do: numbers within bounds that make a page, words that stand for what it knows. Tested by driver_profile_test.
#include "option.h"
#include "profile_reader.h"
#include "text_value.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

namespace virtual_scanner {

namespace {

struct role_definition {
    std::string_view name;
    option_role role;
    option_type type;
    double least = 0; // of a number
    double most = 0;
    std::string_view words[4] = {}; // what the words of a text may mean; none: anything
};

constexpr role_definition roles[] = {
    {"mode", option_role::mode, option_type::text, 0, 0, {"color", "gray", "lineart"}},
    {"resolution", option_role::resolution, option_type::integer, 25, 1200},
    {"left", option_role::left, option_type::real, 0, 1000},
    {"top", option_role::top, option_type::real, 0, 1000},
    {"right", option_role::right, option_type::real, 0, 1000},
    {"bottom", option_role::bottom, option_type::real, 0, 1000},
    {"paper", option_role::paper, option_type::text},
    {"sides", option_role::sides, option_type::text, 0, 0, {"front", "both", "both-without-blank"}},
    {"source", option_role::source, option_type::text, 0, 0, {"flatbed", "front", "back", "both"}},
    {"job", option_role::job, option_type::text, 0, 0, {"all", "counted"}},
    {"page-limit", option_role::page_limit, option_type::integer, 0, 1000000},
    {"brightness", option_role::brightness, option_type::integer, -100, 100},
    {"contrast", option_role::contrast, option_type::integer, -100, 100},
    {"gamma", option_role::gamma, option_type::real, 0.01, 100},
    {"threshold", option_role::threshold, option_type::integer, 0, 256},
    {"channel", option_role::channel, option_type::text, 0, 0, {"luminance", "red", "green", "blue"}},
    {"invert", option_role::invert, option_type::boolean},
    {"binarization", option_role::binarization, option_type::text, 0, 0, {"fixed", "otsu", "adaptive"}},
    {"error-diffusion", option_role::error_diffusion, option_type::boolean},
    {"despeckle", option_role::despeckle, option_type::boolean},
    {"speckle-size", option_role::speckle_size, option_type::integer, 1, 1000},
    {"speckle-strength", option_role::speckle_strength, option_type::integer, 1, 20},
    {"sharpness", option_role::sharpness, option_type::text, 0, 0, {"none", "sharpen", "sharpen-more", "soften"}},
    {"remove-moire", option_role::remove_moire, option_type::boolean},
    {"remove-halftone", option_role::remove_halftone, option_type::boolean},
    {"correct-color", option_role::correct_color, option_type::boolean},
    {"erase-background", option_role::erase_background, option_type::boolean},
    {"background-range", option_role::background_range, option_type::integer, 0, 50},
    {"show-through", option_role::show_through, option_type::boolean},
    {"show-through-level", option_role::show_through_level, option_type::text, 0, 0, {"weak", "medium", "strong"}},
    {"straighten", option_role::straighten, option_type::boolean},
    {"erase-frame", option_role::erase_frame, option_type::boolean},
    {"frame-shape", option_role::frame_shape, option_type::text, 0, 0, {"convex", "concave"}},
    {"frame-margin", option_role::frame_margin, option_type::integer, 0, 1000},
    {"fill-color", option_role::fill_color, option_type::boolean},
    {"fill-holes", option_role::fill_holes, option_type::boolean},
    {"hole-range", option_role::hole_range, option_type::integer, 0, 100},
    {"hole-range-left", option_role::hole_range_left, option_type::integer, 0, 100},
    {"hole-range-right", option_role::hole_range_right, option_type::integer, 0, 100},
    {"dark-background", option_role::dark_background, option_type::boolean},
    {"check-corners", option_role::check_corners, option_type::boolean},
    {"corner-size", option_role::corner_size, option_type::integer, 0, 1000},
    {"check-skew", option_role::check_skew, option_type::boolean},
    {"skew-limit", option_role::skew_limit, option_type::integer, 0, 90},
    {"check-staples", option_role::check_staples, option_type::boolean},
    {"rotate-back", option_role::rotate_back, option_type::boolean},
    {"discard-blank", option_role::discard_blank, option_type::boolean},
    {"blank-limit", option_role::blank_limit, option_type::integer, 0, 10000},
    {"language", option_role::language, option_type::text},
    {"restore", option_role::restore, option_type::button},
};

// The ends of the bounds or all listed values; empty when any number is allowed.
std::vector<double> allowed_numbers(const option_definition &option)
{
    if (option.bounds)
        return {option.bounds->min, option.bounds->max};
    std::vector<double> numbers;
    std::transform(option.values.begin(), option.values.end(), std::back_inserter(numbers), as_number);
    return numbers;
}

void check_numbers(const option_definition &option, const role_definition &known, const profile_node &node)
{
    const std::vector<double> numbers = allowed_numbers(option);
    if (numbers.empty())
        node.fail("an option that means this needs a range");
    for (const double number : numbers)
        if (number < known.least || number > known.most)
            node.fail("the range goes beyond what the scanner can do");
}

void check_words(const option_definition &option, const role_definition &known, const profile_node &node)
{
    if (option.values.empty())
        node.fail("an option that means this needs a range");
    if (known.words[0].empty())
        return;
    for (const option_value &value : option.values) {
        const auto &word = std::get<text_value>(value);
        const auto given = option.meanings.find(word);
        const std::string &meaning = given != option.meanings.end() ? given->second : word;
        if (meaning.empty() ||
            std::find(std::begin(known.words), std::end(known.words), meaning) == std::end(known.words))
            node.fail("the word \"" + word + "\" means nothing that the scanner can do");
    }
}

void read_meanings(option_definition &option, const profile_node &node)
{
    if (option.type != option_type::text)
        node.fail("only words have meanings");
    node.each_member([&](const std::string &word, const profile_node &meaning) {
        if (!allows(option, option_value(word)))
            meaning.fail("not an allowed value of the option");
        option.meanings[word] = meaning.text();
    });
}

} // namespace

void read_role(option_definition &option, const profile_node &node)
{
    if (node.has("meanings"))
        read_meanings(option, node.at("meanings"));
    if (!node.has("means"))
        return;
    const profile_node means = node.at("means");
    const role_definition *known = find_name(roles, means.text());
    if (known == nullptr)
        means.fail("no such meaning");
    if (known->type != option.type)
        means.fail("an option of this type cannot mean that");
    option.role = known->role;
    if (option.type == option_type::text)
        check_words(option, *known, means);
    if (option.type == option_type::integer || option.type == option_type::real)
        check_numbers(option, *known, means);
}

} // namespace virtual_scanner
