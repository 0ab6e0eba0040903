// SPDX-License-Identifier: MIT
// The checks put together, with those of names, identifiers and texts. An option that yields no descriptor is not
// looked at any further, since nothing of it arrives anywhere.
// Tested by tests/tools/lint_test.cpp.
#include "lint.h"

#include "langkit.h"
#include "option_ids.h"
#include "sane_kx_mdw.h"

#include <algorithm>
#include <cstddef>
#include <fmt/format.h>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace inspect {

namespace {

constexpr std::size_t room_for_name = 64; // in the notice of an option's activity, with the NUL

bool has_descriptor(examined_option &option)
{
    return kx_sane_middleware::instance()->from_json(nullptr, option.text.name, &option.description) != nullptr;
}

std::string reason_without_descriptor(const examined_option &option)
{
    if (option.text.description.empty())
        return "the driver gives no text";
    if (option.description.find(nullptr) == nullptr)
        return "the text is no JSON";
    if (option.type.empty())
        return "there is no \"type\"";
    return fmt::format("\"{}\" is no type", option.type);
}

void lint_name(const examined_option &option, report &found)
{
    if (option.text.name.empty())
        found.error(option, "", "no-name", "the option has no name");
    if (option.text.name.size() >= room_for_name)
        found.error(
            option, "", "long-name",
            fmt::format("the name has {} bytes, and {} are the most", option.text.name.size(), room_for_name - 1));
}

// Whether there is a text for the user at a key.
void lint_text(examined_option &option, const char *key, const std::string &rule, report &found)
{
    const std::string place = std::string("/") + key;
    const bool is_there = !kx_sane_middleware::get_string_in_json(&option.description, key).empty();
    int word = -1;
    int status = 0;
    if (option.description.get_value(key, word) && word != -1)
        lang_load_string(word, &status, 0);
    if (status != 0)
        found.warning(option, place, rule, fmt::format("the language library has no word {}", word));
    else if (!is_there)
        found.warning(option, place, rule, "it is missing");
}

// The identifier in the description, or that of the name; 0 for none.
int fixed_id_of(const examined_option &option)
{
    int id = 0;
    if (option.description.get_value("fix-id", id))
        return id;
    const auto *const known =
        std::find_if(std::begin(well_known_options), std::end(well_known_options),
                     [&option](const well_known_option &candidate) { return candidate.name == option.text.name; });
    return known != std::end(well_known_options) ? known->id : 0;
}

// The backend adds options of its own beside two of the driver's.
void lint_addition(const examined_option &option, const examined_options &options, report &found)
{
    static const std::map<std::string, std::string> base_of = {
        {"page-width", "paper"}, {"page-height", "paper"}, {"duplex", "page"}};
    const auto addition = base_of.find(option.text.name);
    if (addition != base_of.end() && find_option(options, addition->second) != nullptr)
        found.error(option, "", "name-clash",
                    fmt::format("the backend adds an option of this name to \"{}\"", addition->second));
}

void lint_clashes(const examined_options &options, report &found)
{
    std::map<int, const examined_option *> by_id;
    for (const examined_option &option : options) {
        const examined_option *const first = find_option(options, option.text.name);
        if (first != &option)
            found.error(option, "", "name-clash", fmt::format("option {} has this name, too", first->text.number));
        const int id = fixed_id_of(option);
        const auto [other, is_new] = by_id.emplace(id, &option);
        if (id != 0 && !is_new && first == &option)
            found.error(option, "/fix-id", "id-clash",
                        fmt::format("option {}, {}, has the fixed identifier {}, too", other->second->text.number,
                                    other->second->text.name, id));
        lint_addition(option, options, found);
    }
}

} // namespace

examined_option::examined_option(const option_text &given) : text(given), description(given.description.c_str())
{
    description.get_value("type", type);
}

const examined_option *find_option(const examined_options &options, const std::string &name)
{
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&name](const examined_option &each) { return each.text.name == name; });
    return found != options.end() ? &*found : nullptr;
}

void report::error(const examined_option &option, const std::string &place, const std::string &rule,
                   const std::string &reason)
{
    findings_.push_back({option.text.number, option.text.name, place, severity::error, rule, reason});
}

void report::warning(const examined_option &option, const std::string &place, const std::string &rule,
                     const std::string &reason)
{
    findings_.push_back({option.text.number, option.text.name, place, severity::warning, rule, reason});
}

std::vector<finding> report::findings() const
{
    std::vector<finding> sorted = findings_;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const finding &left, const finding &right) { return left.number < right.number; });
    return sorted;
}

std::vector<finding> lint(const std::vector<option_text> &texts)
{
    report found;
    examined_options options;
    for (const option_text &text : texts) {
        examined_option &option = options.emplace_back(text);
        if (!has_descriptor(option)) {
            found.error(option, "", "no-descriptor", reason_without_descriptor(option) + ": the option is not shown");
            options.pop_back();
            continue;
        }
        lint_name(option, found);
        lint_text(option, "title", "no-title", found);
        lint_text(option, "desc", "no-description", found);
        lint_values(option, found);
    }
    lint_clashes(options, found);
    lint_dependencies(options, found);
    return found.findings();
}

} // namespace inspect
