// SPDX-License-Identifier: MIT
// From an option's description object to its SANE descriptor: the type decides the builder, then size, capabilities and
// unit are adjusted, and a dependency expression is registered with the opened device. An object without a usable type
// yields nothing.
// Tested by tests/sane/descriptor_test.cpp.
#include "descriptor.h"

#include "commonlog.h"
#include "depend_expression.h"
#include "json.h"
#include "local_utility.h"
#include "number_text.h"
#include "opened_devices.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// The name and texts that every builder takes.
struct option_texts {
    const std::string &name;
    const std::string title;
    const std::string desc;

    template <typename Builder, typename... Values> descriptor_ptr build(Builder builder, Values &&...values) const
    {
        return builder(name.c_str(), title.c_str(), desc.c_str(), values...);
    }
};

const auto build_strings = [](auto &&...args) { return kx_sane_middleware::string_option_to_SANE_descriptor(args...); };
const auto build_numbers = [](auto &&...args) { return kx_sane_middleware::number_option_to_SANE_descriptor(args...); };

template <typename Value, typename Convert> std::vector<Value> children_of(json &range, Convert convert)
{
    std::vector<Value> values;
    std::string text;
    for (bool more = range.first_child(text); more; more = range.next_child(text))
        values.push_back(convert(text));
    return values;
}

std::string translated(std::string text)
{
    local_utility::trans_language_if_was_word_id(text);
    return text;
}

// `longest`: bytes of the longest listed text.
descriptor_ptr string_descriptor(const option_texts &texts, json &jsn, int &longest)
{
    json range = jsn.part("range");
    const auto values = children_of<std::string>(range, translated);
    for (const auto &value : values)
        longest = std::max(longest, static_cast<int>(value.size()));
    return texts.build(build_strings, values);
}

descriptor_ptr unbounded_descriptor(const option_texts &texts, SANE_Value_Type type)
{
    double *const none = nullptr;
    auto descriptor = texts.build(build_numbers, false, none, none, none);
    if (descriptor != nullptr)
        descriptor->type = type;
    return descriptor;
}

descriptor_ptr int_descriptor(const option_texts &texts, json &jsn)
{
    json range = jsn.part("range");
    if (range.is_empty())
        return unbounded_descriptor(texts, SANE_TYPE_INT);
    int min = 0;
    if (!range.get_value("min", min)) {
        const auto number = [](const std::string &text) {
            return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
        };
        return texts.build(build_numbers, children_of<int>(range, number));
    }
    int max = 0;
    int step = 1;
    range.get_value("max", max);
    range.get_value("step", step);
    DebugLog(g_hLog, "%s range: [%d, +%d, %d]", texts.name.c_str(), min, step, max);
    const double bounds[] = {double(min), double(max), double(step)};
    return texts.build(build_numbers, false, &bounds[0], &bounds[1], &bounds[2]);
}

descriptor_ptr float_descriptor(const option_texts &texts, json &jsn)
{
    json range = jsn.part("range");
    if (range.is_empty())
        return unbounded_descriptor(texts, SANE_TYPE_INT); // intended: drivers rely on it
    double min = 0;
    if (!range.get_value("min", min)) {
        const auto number = [](const std::string &text) { return text_to_number(text.c_str()); };
        return texts.build(build_numbers, children_of<double>(range, number));
    }
    double max = 0;
    range.get_value("max", max);
    double step = (max - min) / 10;
    range.get_value("step", step);
    DebugLog(g_hLog, "%s range: (%f, +%f, %f)", texts.name.c_str(), min, step, max);
    return texts.build(build_numbers, true, &min, &max, &step);
}

descriptor_ptr descriptor_of_type(std::string_view type, const option_texts &texts, json &jsn, int &longest)
{
    if (type == "string")
        return string_descriptor(texts, jsn, longest);
    if (type == "int")
        return int_descriptor(texts, jsn);
    if (type == "float")
        return float_descriptor(texts, jsn);
    if (type == "bool")
        return unbounded_descriptor(texts, SANE_TYPE_BOOL);
    if (type == "button")
        return unbounded_descriptor(texts, SANE_TYPE_BUTTON);
    if (type == "group")
        return unbounded_descriptor(texts, SANE_TYPE_GROUP);
    return nullptr;
}

// The driver's size, or enough for the longest listed text.
int value_size(const std::string &name, const json &jsn, int longest)
{
    int size = 0;
    jsn.get_value("size", size);
    if (size >= longest)
        return size;
    const int enough = (longest + 4 + 3) & ~3;
    DebugLog(g_hLog, "Resize size of '%s' from %d to %d", name.c_str(), size, enough);
    return enough;
}

SANE_Int capabilities(SANE_Int cap, const json &jsn)
{
    constexpr SANE_Int access = SANE_CAP_SOFT_SELECT | SANE_CAP_HARD_SELECT | SANE_CAP_SOFT_DETECT;
    bool automatic = true;
    if (jsn.get_value("auto", automatic) && !automatic)
        cap &= ~SANE_CAP_AUTOMATIC;
    bool readonly = false;
    if (jsn.get_value("readonly", readonly) && readonly)
        cap = (cap & ~access) | SANE_CAP_SOFT_DETECT;
    std::string_view category;
    if (jsn.get_value("cat", category) && category == "advanced")
        cap |= SANE_CAP_ADVANCED;
    bool enabled = true;
    if (jsn.get_value("enable", enabled) && !enabled)
        cap |= SANE_CAP_INACTIVE;
    return cap;
}

SANE_Unit unit_of(std::string_view name)
{
    if (name == "resolution")
        return SANE_UNIT_DPI;
    if (name == "tl-x" || name == "br-x" || name == "tl-y" || name == "br-y")
        return SANE_UNIT_MM;
    return SANE_UNIT_NONE;
}

} // namespace

descriptor_ptr kx_sane_middleware::from_json(void *scanner, const std::string &name, json *jsn)
{
    const option_texts texts{name, get_string_in_json(jsn, "title"), get_string_in_json(jsn, "desc")};
    std::string_view type;
    if (!jsn->get_value("type", type))
        return nullptr;
    int longest = 0;
    auto descriptor = descriptor_of_type(type, texts, *jsn, longest);
    if (descriptor == nullptr)
        return nullptr;
    descriptor->size = value_size(name, *jsn, longest);
    descriptor->cap = capabilities(descriptor->cap, *jsn);
    descriptor->unit = unit_of(name);
    register_dependencies(scanner, *descriptor, name, *jsn);
    return descriptor;
}

void kx_sane_middleware::register_dependencies(void *scanner, const SANE_Option_Descriptor &desc,
                                               const std::string &name, json &jsn)
{
    json any_of = jsn.part("depend_or");
    json all_of = any_of.is_empty() ? jsn.part("depend_and") : json();
    json &expression = any_of.is_empty() ? all_of : any_of;
    _dev_inst *const dev = expression.is_empty() ? nullptr : find_record(scanner);
    if (dev == nullptr)
        return;
    _slave_option slave;
    slave.is_enable = any_of.is_empty() ? is_enable_and : is_enable_or;
    if (!parse_depends(scanner, &expression, slave, dev->masters_))
        return;
    slave.enable_now = is_active(desc);
    slave.name = name;
    dev->slaves_.push_back(std::move(slave));
}
