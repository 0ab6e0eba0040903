// SPDX-License-Identifier: MIT
// The options of a profile: types, constraints, defaults, dependencies and what is set along, each checked on its own
// first and then against the other options. Tested by driver_profile_test.
#include "dependency.h"
#include "kx_scanner.h"
#include "option.h"
#include "profile_reader.h"
#include "words.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace virtual_scanner {

bool allows(const option_definition &option, const option_value &value)
{
    if (!option.values.empty())
        return std::find(option.values.begin(), option.values.end(), value) != option.values.end();
    if (option.type == option_type::text)
        return std::get<text_value>(value).size() < static_cast<std::size_t>(option.size);
    return !option.bounds || (as_number(value) >= option.bounds->min && as_number(value) <= option.bounds->max);
}

namespace {

struct type_name {
    std::string_view name;
    option_type type;
};

constexpr type_name type_names[] = {
    {"bool", option_type::boolean}, {"int", option_type::integer},   {"float", option_type::real},
    {"string", option_type::text},  {"button", option_type::button}, {"group", option_type::group},
};

option_type read_type(const profile_node &node)
{
    const auto *entry = find_name(type_names, node.text());
    if (entry == nullptr)
        node.fail("no such type");
    return entry->type;
}

std::string read_name(const profile_node &node)
{
    std::string name = node.text();
    const auto is_allowed = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'; };
    if (name.empty() || name.size() > 63 || name[0] < 'a' || name[0] > 'z' ||
        !std::all_of(name.begin(), name.end(), is_allowed))
        node.fail("an option's name is [a-z][a-z0-9-]*, at most 63 characters");
    return name;
}

// Applications read a text up to its NUL.
std::string read_word(const profile_node &node)
{
    std::string word = node.text();
    if (word.find('\0') != std::string::npos)
        node.fail("a text has no zero bytes");
    return word;
}

option_value read_value(option_type type, const profile_node &node)
{
    switch (type) {
    case option_type::boolean:
        return node.boolean();
    case option_type::integer:
        return node.integer();
    case option_type::real:
        return node.number();
    case option_type::text:
        return read_word(node);
    case option_type::button:
    case option_type::group:
        break;
    }
    node.fail("an option of this type has no value");
}

void read_bounds(option_definition &option, const profile_node &range)
{
    range.expect_keys({"min", "max", "step"});
    if (option.type != option_type::integer && option.type != option_type::real)
        range.fail("only numbers have bounds");
    const number_range bounds{range.at("min").number(), range.at("max").number(), range.at("step").number()};
    if (!(bounds.min <= bounds.max) || !(bounds.step >= 0))
        range.fail("the bounds are out of order");
    const auto is_word = [](double value) { return std::abs(value) <= 0x7fffffff && value == std::trunc(value); };
    if (option.type == option_type::integer && !(is_word(bounds.min) && is_word(bounds.max) && is_word(bounds.step)))
        range.fail("the bounds of an \"int\" are 32-bit integers");
    option.bounds = bounds;
}

void read_range(option_definition &option, const profile_node &range)
{
    if (range.value().is_object())
        return read_bounds(option, range);
    range.expect_array();
    for (std::size_t i = 0; i < range.size(); ++i)
        option.values.push_back(read_value(option.type, range.at(i)));
    if (option.values.empty())
        range.fail("an empty list allows nothing");
}

constexpr int spare_bytes = 4; // of a text, its NUL among them
constexpr int largest_size = 65536;

// Room for the longest word in every language that can be switched to: applications make room once, and learn nothing
// of a switch by somebody else.
int least_size(const option_definition &option, const profile_node &node)
{
    std::size_t longest = 0;
    for (const option_value &value : option.values)
        longest = std::max(longest, longest_shown(std::get<text_value>(value)));
    if (longest > largest_size - spare_bytes)
        node.at("range").fail("a word is too long: in some language it has " + std::to_string(longest) + " bytes");
    return static_cast<int>(longest) + spare_bytes;
}

int size_of_default(const option_definition &option, const profile_node &node)
{
    const std::size_t length = std::get<text_value>(option.initial).size();
    if (length > largest_size - spare_bytes)
        node.at("default").fail("the text is too long");
    return static_cast<int>(length) + spare_bytes;
}

int read_text_size(const option_definition &option, const profile_node &node)
{
    const int least = least_size(option, node);
    if (!node.has("size"))
        return std::max(least, size_of_default(option, node));
    const profile_node size = node.at("size");
    const int told = size.integer(spare_bytes, largest_size);
    if (told < least)
        size.fail("at least " + std::to_string(least) + " bytes are expected: in some language the longest word has " +
                  std::to_string(least - spare_bytes));
    return told;
}

int read_size(const option_definition &option, const profile_node &node)
{
    if (option.type == option_type::text)
        return read_text_size(option, node);
    if (node.has("size"))
        node.at("size").fail("only texts have a size of their own");
    return option.type == option_type::button || option.type == option_type::group ? 0 : 4;
}

void read_value_keys(option_definition &option, const profile_node &node)
{
    const bool has_value = option.type != option_type::button && option.type != option_type::group;
    if (has_value)
        option.initial = read_value(option.type, node.at("default"));
    else if (node.has("default"))
        node.at("default").fail("an option of this type has no value");
    option.size = read_size(option, node);
    if (has_value && !allows(option, option.initial))
        node.at("default").fail("the default is not an allowed value");
}

void read_dependency(option_definition &option, const profile_node &list, bool all)
{
    dependency depends;
    depends.all = all;
    const bool single = list.value().is_string();
    if (!single)
        list.expect_array();
    for (std::size_t i = 0; i < (single ? 1 : list.size()); ++i) {
        const profile_node node = single ? list : list.at(i);
        auto condition = parse_condition(node.text());
        if (!condition)
            node.fail("a malformed condition");
        if (condition->master.empty() && depends.conditions.empty())
            node.fail("the first condition names no option");
        if (condition->master.empty())
            condition->master = depends.conditions.back().master;
        depends.texts.push_back(node.text());
        depends.conditions.push_back(std::move(*condition));
    }
    option.depends = std::move(depends);
}

int read_answer(option_type type, const profile_node &node)
{
    constexpr int answers[] = {SCANNER_ERR_OK, SCANNER_ERR_CONFIGURATION_CHANGED, SCANNER_ERR_RELOAD_IMAGE_PARAM,
                               SCANNER_ERR_RELOAD_OPT_PARAM};
    if (type == option_type::group)
        node.fail("a group is not set");
    const int answer = node.integer();
    if (std::find(std::begin(answers), std::end(answers), answer) == std::end(answers))
        node.fail("0, 262, 277 or 278 is expected");
    return answer;
}

option_definition read_option(const profile_node &node)
{
    node.expect_keys({"name", "type", "title", "desc", "size", "range", "auto", "readonly", "cat", "fix-id", "default",
                      "depend_or", "depend_and", "image", "answers", "means", "meanings", "sets"});
    option_definition option;
    option.name = read_name(node.at("name"));
    option.type = read_type(node.at("type"));
    option.title = node.at("title").integer(0);
    option.desc = node.at("desc").integer(0);
    option.category = node.has("cat") ? node.at("cat").text() : "base";
    option.automatic = node.boolean_or("auto", true);
    option.readonly = node.boolean_or("readonly", false);
    option.affects_image = node.boolean_or("image", false);
    if (node.has("answers"))
        option.answer = read_answer(option.type, node.at("answers"));
    if (node.has("fix-id"))
        option.fix_id = node.at("fix-id").integer(0x8801, 0xFFFF);
    if (node.has("range"))
        read_range(option, node.at("range"));
    read_value_keys(option, node);
    read_role(option, node);
    if (node.has("depend_or") && node.has("depend_and"))
        node.fail("\"depend_or\" and \"depend_and\" exclude each other");
    if (node.has("depend_or"))
        read_dependency(option, node.at("depend_or"), false);
    if (node.has("depend_and"))
        read_dependency(option, node.at("depend_and"), true);
    return option;
}

// Words are compared in the user's language, which an application can translate only when it knows the master already.
void check_masters(const std::vector<option_definition> &options, std::size_t index, const profile_node &node)
{
    const std::optional<dependency> &depends = options[index].depends;
    if (!depends)
        return;
    const profile_node list = node.at(depends->all ? "depend_and" : "depend_or");
    for (const condition &condition : depends->conditions) {
        const option_definition *master = find_name(options, condition.master);
        if (master == nullptr)
            list.fail("a condition names \"" + condition.master + "\", which is no option");
        if (master->type == option_type::text && master >= &options[index])
            list.fail("\"" + condition.master + "\" has to stand before what depends on it");
    }
}

// Whether the text is that of a value which the option allows, as it is looked up when a value is set.
bool allows_text(const option_definition &option, const std::string &text)
{
    if (option.type == option_type::boolean)
        return text == "true" || text == "false";
    if (!option.values.empty())
        return std::any_of(option.values.begin(), option.values.end(),
                           [&](const option_value &value) { return to_condition_text(value) == text; });
    if (option.type != option_type::integer && option.type != option_type::real)
        return option.type == option_type::text && allows(option, text);
    const auto is_text_of = [&](auto number) {
        std::from_chars(text.data(), text.data() + text.size(), number);
        return to_condition_text(number) == text && allows(option, number);
    };
    return option.type == option_type::real ? is_text_of(0.0) : is_text_of(0);
}

void read_sets(std::vector<option_definition> &options, std::size_t index, const profile_node &sets)
{
    sets.each_member([&](const std::string &value, const profile_node &list) {
        if (!allows_text(options[index], value))
            list.fail("not an allowed value of the option");
        assignments &settings = options[index].sets[value];
        list.each_member([&](const std::string &name, const profile_node &node) {
            const option_definition *target = find_name(options, name);
            if (target == nullptr || target == &options[index])
                node.fail("no other option has this name");
            settings.emplace_back(name, read_value(target->type, node));
            if (!allows(*target, settings.back().second))
                node.fail("not an allowed value of that option");
        });
    });
}

// What is set along with a value is set as it is, so it may not draw in further settings.
void check_sets(const std::vector<option_definition> &options, const profile_node &list)
{
    for (std::size_t i = 0; i < options.size(); ++i)
        for (const auto &[value, settings] : options[i].sets)
            for (const auto &[name, setting] : settings)
                if (!find_name(options, name)->sets.empty())
                    list.at(i).fail("\"" + name + "\" sets further options itself");
}

// An option's name and what it means are its own.
void check_unique(const std::vector<option_definition> &options, const profile_node &list)
{
    std::set<std::string> names;
    std::set<option_role> roles;
    for (std::size_t i = 0; i < options.size(); ++i) {
        if (!names.insert(options[i].name).second)
            list.at(i).fail("the name \"" + options[i].name + "\" is taken");
        if (options[i].role != option_role::none && !roles.insert(options[i].role).second)
            list.at(i).fail("another option means the same");
    }
    if (roles.count(option_role::sides) != 0 && roles.count(option_role::source) != 0)
        list.fail("one option means the sides and another one the source, which tells the sides, too");
}

} // namespace

std::vector<option_definition> read_options(const profile_node &list)
{
    list.expect_array();
    std::vector<option_definition> options;
    options.reserve(list.size());
    for (std::size_t i = 0; i < list.size(); ++i)
        options.push_back(read_option(list.at(i)));
    check_unique(options, list);
    for (std::size_t i = 0; i < list.size(); ++i) {
        check_masters(options, i, list.at(i));
        if (list.at(i).has("sets"))
            read_sets(options, i, list.at(i).at("sets"));
    }
    check_sets(options, list);
    return options;
}

} // namespace virtual_scanner
