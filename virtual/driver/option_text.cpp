// SPDX-License-Identifier: MIT
// An option as the driver's text, `"name" : {...}`: words in the current language, titles as word ids, conditions as
// they stand in the profile. All texts are UTF-8 and none is longer than the size that is told: the profile and every
// setting are checked for it before. Tested by driver_options_test.
#include "option_store.h"
#include "words.h"

#include <nlohmann/json.hpp>

namespace virtual_scanner {

namespace {

using json = nlohmann::ordered_json;

const char *type_name(option_type type)
{
    constexpr const char *names[] = {"bool", "int", "float", "string", "button", "group"};
    return names[static_cast<std::size_t>(type)];
}

// A free text is the user's own and no word of the scanner's, also where it happens to be spelt like one.
json to_json(const option_definition &option, const option_value &value)
{
    if (const bool *flag = std::get_if<bool>(&value))
        return *flag;
    if (const int *integer = std::get_if<int>(&value))
        return *integer;
    if (const double *real = std::get_if<double>(&value))
        return *real;
    const auto &text = std::get<std::string>(value);
    return option.values.empty() ? text : as_shown(text, option.size);
}

json bounds_to_json(const option_definition &option)
{
    const auto number = [&](double value) {
        return option.type == option_type::integer ? json(static_cast<int>(value)) : json(value);
    };
    return {{"min", number(option.bounds->min)},
            {"max", number(option.bounds->max)},
            {"step", number(option.bounds->step)}};
}

void add_constraint(const option_definition &option, json &text)
{
    if (option.bounds)
        text["range"] = bounds_to_json(option);
    for (const option_value &value : option.values)
        text["range"].push_back(to_json(option, value));
}

void add_dependency(const dependency &depends, json &text)
{
    json &conditions = text[depends.all ? "depend_and" : "depend_or"];
    if (depends.texts.size() == 1)
        conditions = depends.texts.front();
    else
        conditions = depends.texts;
}

} // namespace

std::string option_store::describe(int number) const
{
    const option_definition &option = option_at(number);
    json text{{"type", type_name(option.type)}, {"title", option.title}, {"desc", option.desc}, {"size", option.size}};
    add_constraint(option, text);
    text["auto"] = option.automatic;
    text["readonly"] = option.readonly;
    text["cat"] = option.category;
    text["enable"] = static_cast<bool>(active_[index_of(number)]);
    if (option.fix_id)
        text["fix-id"] = *option.fix_id;
    if (option.depends)
        add_dependency(*option.depends, text);
    if (option.type != option_type::button && option.type != option_type::group) {
        text["default"] = to_json(option, option.initial);
        text["cur"] = to_json(option, current(number));
    }
    return '"' + option.name + "\" : " + text.dump();
}

} // namespace virtual_scanner
