// SPDX-License-Identifier: MIT
// From the driver's texts to a profile that the virtual scanner takes. What the scanner would refuse is left out and
// told: the profile has to load, and nobody should take it for more than it is. Conditions are written anew from what
// the backend reads in them, so that words are those of the values.
// Tested by tests/tools/capture_test.cpp.
#include "capture.h"
#include "dependencies.h"
#include "json.h"
#include "lint.h"
#include "local_utility.h"
#include "number_text.h"
#include "option_ids.h"
#include "option_texts.h"
#include "output.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstddef>
#include <fmt/format.h>
#include <string>
#include <utility>
#include <vector>

namespace inspect {

namespace {

constexpr int first_own_word = 1000000; // of texts that are no words of the language library
constexpr std::size_t spare_bytes = 4;  // that a text's size has beyond the longest word
constexpr int last_fixed_id = 65535;

class option_capture {
public:
    option_capture(const examined_options &options, const examined_option &option, captured_options &result)
        : options_(options), option_(option), result_(result)
    {
    }

    void run()
    {
        if (!has_usable_name())
            return lose("its name cannot stand in a profile: the option is missing, and those after it have other "
                        "numbers");
        profile_ = {{"name", option_.text.name}, {"type", option_.type}};
        add_word("title");
        add_word("desc");
        if (option_.type != "button" && option_.type != "group")
            add_values();
        add_attributes();
        add_conditions();
        add_meaning(profile_, result_.papers);
        result_.options.push_back(std::move(profile_));
    }

private:
    void lose(const std::string &what) { result_.losses.push_back(option_.text.name + ": " + what); }

    [[nodiscard]] bool has_usable_name() const
    {
        const std::string &name = option_.text.name;
        const auto is_usable = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'; };
        return !name.empty() && name.size() < 64 && name[0] >= 'a' && name[0] <= 'z' &&
               std::all_of(name.begin(), name.end(), is_usable) && find_option(options_, name) == &option_;
    }

    void add_word(const char *key)
    {
        json copy; // of the description, which is read and not changed
        copy.attach_cjson(option_.description.find(nullptr));
        const std::string text = kx_sane_middleware::get_string_in_json(&copy, key);
        int id = -1;
        if (!option_.description.get_value(key, id) || id < 0)
            id = first_own_word + static_cast<int>(result_.words.size());
        profile_[key] = id;
        result_.words[std::to_string(id)] = text;
    }

    // The value at a path as the profile writes it.
    [[nodiscard]] json_value value_at(const char *path) const
    {
        if (option_.type == "bool")
            return read<bool>(path);
        if (option_.type == "int")
            return read<int>(path);
        if (option_.type == "float" && has("range/min"))
            return read<double>(path);
        std::string text;
        option_.description.get_value_as_string(path, text, false);
        if (option_.type == "float") // as exact as the listed values
            return text_to_number(text.c_str());
        local_utility::trans_language_if_was_word_id(text);
        return text;
    }

    template <typename Value> [[nodiscard]] Value read(const char *path, Value value = {}) const
    {
        option_.description.get_value(path, value);
        return value;
    }

    [[nodiscard]] bool has(const char *path) const { return option_.description.find(path) != nullptr; }

    void add_values()
    {
        if (has("range/min") && option_.type == "int")
            add_bounds<int>(1);
        else if (has("range/min") && option_.type == "float")
            add_bounds<double>((read<double>("range/max") - read<double>("range/min")) / 10);
        else
            add_list();
        add_default();
        add_size();
    }

    template <typename Number> void add_bounds(Number step)
    {
        const auto min = read<Number>("range/min");
        const auto max = read<Number>("range/max");
        step = read<Number>("range/step", step);
        if (min > max || step < 0)
            return lose("its bounds are out of order: the option has none");
        profile_["range"] = {{"min", min}, {"max", max}, {"step", step}};
    }

    void add_list()
    {
        for (const std::string &text : allowed_texts(option_)) {
            if (option_.type == "string")
                profile_["range"].push_back(text);
            else if (option_.type == "bool")
                profile_["range"].push_back(text == "true");
            else if (option_.type == "int")
                profile_["range"].push_back(kx_sane_middleware::truncate_to_word(text_to_number(text.c_str())));
            else
                profile_["range"].push_back(text_to_number(text.c_str()));
        }
    }

    [[nodiscard]] bool allows(const json_value &value) const
    {
        const auto range = profile_.find("range");
        if (range == profile_.end())
            return true;
        if (range->is_object())
            return value >= (*range)["min"] && value <= (*range)["max"];
        return std::find(range->begin(), range->end(), value) != range->end();
    }

    void add_default()
    {
        json_value value = value_at(has("default") ? "default" : "cur");
        if (!allows(value)) {
            const json_value &range = profile_["range"];
            value = range.is_object() ? range["min"] : range[0];
            lose(fmt::format("its default is not allowed: {} instead", json_text(value)));
        }
        profile_["default"] = value;
        const bool is_the_process_language = option_.text.name == "language"; // which no scanner keeps
        if (has("cur") && !is_the_process_language && value_at("cur") != value)
            lose(fmt::format("it stands at {}, and in the profile at its default {}", json_text(value_at("cur")),
                             json_text(value)));
    }

    void add_size()
    {
        const int size = read<int>("size");
        if (option_.type != "string") {
            if (size != static_cast<int>(sizeof(SANE_Word)))
                lose(fmt::format("its size is {}, and in the profile {}", size, sizeof(SANE_Word)));
            return;
        }
        std::size_t needed = profile_["default"].get_ref<const std::string &>().size() + spare_bytes;
        for (const std::string &text : allowed_texts(option_))
            needed = std::max(needed, text.size() + spare_bytes);
        if (size < static_cast<int>(needed))
            lose(fmt::format("its size is {}, and in the profile {}", size, needed));
        profile_["size"] = std::max(size, static_cast<int>(needed));
    }

    void add_attributes()
    {
        if (!read<bool>("auto", true))
            profile_["auto"] = false;
        if (read<bool>("readonly", false))
            profile_["readonly"] = true;
        if (const auto category = read<std::string>("cat"); !category.empty() && category != "base")
            profile_["cat"] = category;
        const int id = read<int>("fix-id");
        if (id > SANE_OPTION_ID_BASE && id <= last_fixed_id)
            profile_["fix-id"] = id;
        else if (has("fix-id"))
            lose(fmt::format("its fixed identifier {} is left out", id));
    }

    void add_conditions()
    {
        const char *const rule = rule_in(option_.description);
        if (rule == nullptr) {
            if (!read<bool>("enable", true))
                lose("the driver says that it is inactive: in the profile it is active");
            return;
        }
        for (const std::string &text : ignored_conditions(option_.description))
            lose(fmt::format("the condition \"{}\" is ignored by the backend, too", text));
        std::string last_name;
        for (const std::string &text : list_in(option_.description, rule)) {
            _master_option condition;
            if (!kx_sane_middleware::parse_master_option(text.c_str(), condition))
                break;
            if (condition.name.empty())
                condition.name = last_name;
            last_name = condition.name;
            add_condition(rule, condition);
        }
    }

    void add_condition(const char *rule, _master_option &condition)
    {
        const examined_option *const master = find_option(options_, condition.name);
        const bool is_word = master != nullptr && master->type == "string";
        if (master == nullptr || (is_word && master->text.number >= option_.text.number))
            return lose(fmt::format("the condition on \"{}\", which is no option before it", condition.name));
        if (is_word)
            condition.limit_l = local_utility::translated_word(condition.limit_l.c_str());
        profile_[rule].push_back(condition.name + test_text(condition));
    }

    const examined_options &options_;
    const examined_option &option_;
    captured_options &result_;
    json_value profile_;
};

// The virtual scanner takes sides from one option: from the source, where there is one.
void settle_sides(json_value &options)
{
    const auto means = [](const char *meaning) {
        return [meaning](const json_value &option) { return option.value("means", "") == meaning; };
    };
    const auto sides = std::find_if(options.begin(), options.end(), means("sides"));
    if (sides == options.end() || std::none_of(options.begin(), options.end(), means("source")))
        return;
    sides->erase("means");
    sides->erase("meanings");
}

bool has_descriptor(examined_option &option)
{
    return kx_sane_middleware::instance()->from_json(nullptr, option.text.name, &option.description) != nullptr;
}

} // namespace

captured_options capture_options(const std::vector<option_text> &texts)
{
    captured_options result;
    examined_options options;
    for (const option_text &text : texts) {
        if (has_descriptor(options.emplace_back(text)))
            continue;
        options.pop_back();
        result.losses.push_back(fmt::format("option {} cannot be read: it is missing, and those after it have other "
                                            "numbers",
                                            text.number));
    }
    for (const examined_option &option : options)
        option_capture(options, option, result).run();
    settle_sides(result.options);
    return result;
}

} // namespace inspect
