// SPDX-License-Identifier: MIT
// An option as the driver's text, `"name" : {...}`: words in the current language, titles as word ids, conditions as
// they stand in the profile. All texts are UTF-8 and none is longer than the size that is told: the profile and every
// setting are checked for it before. Tested by driver_options_test.
#include "dependency.h"
#include "option.h"
#include "option_store.h"
#include "text_value.h"
#include "words.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <variant>

namespace virtual_scanner {

namespace {

using json = nlohmann::json;

const char *type_name(option_type type)
{
    constexpr const char *names[] = {"bool", "int", "float", "string", "button", "group"};
    return names[static_cast<std::size_t>(type)];
}

// No text or number of JSON takes memory when it ends, as a list or an object does, which then could not fail.
template <typename Value> std::string print(const Value &value)
{
    return json(value).dump();
}

// A free text is the user's own and no word of the scanner's, also where it happens to be spelt like one.
std::string print(const option_definition &option, const option_value &value)
{
    if (const bool *flag = std::get_if<bool>(&value))
        return print(*flag);
    if (const int *integer = std::get_if<int>(&value))
        return print(*integer);
    if (const double *real = std::get_if<double>(&value))
        return print(*real);
    const std::string &text = std::get<text_value>(value);
    return print(option.values.empty() ? text : as_shown(text, option.size));
}

template <typename List, typename Print> std::string print_list(const List &list, Print print_one)
{
    std::string text;
    for (const auto &each : list)
        text += (text.empty() ? "[" : ",") + print_one(each);
    return text + "]";
}

std::string print_bounds(option_type type, const number_range &bounds)
{
    const auto number = [&](double value) {
        return type == option_type::integer ? print(static_cast<int>(value)) : print(value);
    };
    return R"({"min":)" + number(bounds.min) + R"(,"max":)" + number(bounds.max) + R"(,"step":)" + number(bounds.step) +
           "}";
}

std::string print_constraint(const option_definition &option)
{
    if (option.bounds)
        return R"(,"range":)" + print_bounds(option.type, *option.bounds);
    if (option.values.empty())
        return "";
    return R"(,"range":)" + print_list(option.values, [&](const option_value &each) { return print(option, each); });
}

std::string print_dependency(const dependency &depends)
{
    const std::string key = depends.all ? R"(,"depend_and":)" : R"(,"depend_or":)";
    if (depends.texts.size() == 1)
        return key + print(depends.texts.front());
    return key + print_list(depends.texts, print<std::string>);
}

} // namespace

std::string option_store::describe(int number) const
{
    const option_definition &option = option_at(number);
    std::string text = '"' + option.name + R"(" : {"type":)" + print(std::string(type_name(option.type)));
    text += R"(,"title":)" + print(option.title) + R"(,"desc":)" + print(option.desc);
    text += R"(,"size":)" + print(option.size) + print_constraint(option);
    text += R"(,"auto":)" + print(option.automatic) + R"(,"readonly":)" + print(option.readonly);
    text += R"(,"cat":)" + print(option.category) + R"(,"enable":)" + print(bool{active_[index_of(number)]});
    if (option.fix_id)
        text += R"(,"fix-id":)" + print(*option.fix_id);
    if (option.depends)
        text += print_dependency(*option.depends);
    if (option.type != option_type::button && option.type != option_type::group)
        text += R"(,"default":)" + print(option, option.initial) + R"(,"cur":)" + print(option, current(number));
    return text + "}";
}

} // namespace virtual_scanner
