// SPDX-License-Identifier: MIT
// Conditions, read with the backend's grammar: a malformed one ends the list without a word, a master that does not
// exist is never met or always, and options that depend on nothing but each other stay off for good. A circle is no
// mistake where a condition on another option leads into it.
// Tested by tests/tools/lint_test.cpp.
#include "depend_expression.h"
#include "lint.h"
#include "local_utility.h"
#include "option_texts.h"
#include "sane_kx_mdw.h"

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <map>
#include <string>
#include <vector>

namespace inspect {

namespace {

bool is_nameable(const std::string &name)
{
    return std::all_of(name.begin(), name.end(), [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; });
}

// An option that a malformed condition begins with, and which no condition can name; null for none.
const examined_option *unnameable_master(const examined_options &options, const std::string &text)
{
    const std::size_t start = std::min(text.find_first_not_of(" \t"), text.size());
    const auto is_meant = [&](const examined_option &each) {
        return !is_nameable(each.text.name) && text.compare(start, each.text.name.size(), each.text.name) == 0;
    };
    const auto found = std::find_if(options.begin(), options.end(), is_meant);
    return found != options.end() ? &*found : nullptr;
}

std::string malformed_reason(const std::string &text)
{
    if (text.find('[') != std::string::npos)
        return "a range is \"[from,to]\" after \"==\" or \"!=\"";
    return "a name of a-z and \"-\" is expected, then one of == != > >= < <=";
}

// Whether a value of the option can have this text.
bool can_be(const examined_option &master, const std::string &text)
{
    if (master.type == "bool")
        return text == "true" || text == "false";
    if (master.type == "int")
        return std::to_string(std::strtol(text.c_str(), nullptr, 10)) == text;
    if (master.type == "float")
        return fmt::format("{:f}", std::strtod(text.c_str(), nullptr)) == text;
    const std::vector<std::string> words = allowed_texts(master);
    const auto is_word = [&words](const std::string &word) {
        return std::find(words.begin(), words.end(), word) != words.end();
    };
    return words.empty() || is_word(text) || is_word(local_utility::translated_word(text.c_str()));
}

// The conditions of one option on their way through the checks.
class condition_check {
public:
    condition_check(const examined_options &options, const examined_option &slave, report &found)
        : options_(options), slave_(slave), found_(found)
    {
    }

    void run(const char *rule)
    {
        const std::vector<std::string> list = list_in(slave_.description, rule);
        if (list.empty())
            return found_.error(slave_, fmt::format("/{}", rule), "malformed-condition",
                                "neither a condition nor a list of them: it is ignored");
        std::string last_name;
        for (std::size_t at = 0; at < list.size(); ++at) {
            place_ = fmt::format("/{}/{}", rule, at);
            _master_option condition;
            if (!kx_sane_middleware::parse_master_option(list[at].c_str(), condition))
                return tell_malformed(list[at], list.size() - at - 1);
            if (condition.name.empty())
                condition.name = last_name;
            last_name = condition.name;
            check(condition);
        }
    }

private:
    void tell_malformed(const std::string &text, std::size_t following)
    {
        const std::string dropped =
            following == 0 ? "it is ignored" : fmt::format("it is ignored, and the {} after it", following);
        if (const examined_option *const master = unnameable_master(options_, text))
            return found_.error(slave_, place_, "unnameable-master",
                                fmt::format("\"{}\": no condition can name \"{}\", only a-z and \"-\" are read: {}",
                                            text, master->text.name, dropped));
        found_.error(slave_, place_, "malformed-condition",
                     fmt::format("\"{}\": {}: {}", text, malformed_reason(text), dropped));
    }

    void check(const _master_option &condition)
    {
        const examined_option *const master = find_option(options_, condition.name);
        if (condition.name.empty())
            return found_.error(slave_, place_, "unknown-master", "the first condition names no option");
        if (master == nullptr)
            return found_.error(slave_, place_, "unknown-master", fmt::format("\"{}\" is no option", condition.name));
        if (master->type == "button" || master->type == "group")
            return found_.error(slave_, place_, "unknown-master",
                                fmt::format("\"{}\" is a {} and has no value", condition.name, master->type));
        const bool compares_texts = condition.compare_val == kx_sane_middleware::compare_val_equal ||
                                    condition.compare_val == kx_sane_middleware::compare_val_not_equal;
        if (compares_texts && !can_be(*master, condition.limit_l))
            found_.warning(slave_, place_, "never-equal",
                           fmt::format("{} is never \"{}\"", condition.name, condition.limit_l));
        if (compares_texts && master->type == "string" && master->text.number >= slave_.text.number)
            found_.warning(slave_, place_, "late-master",
                           fmt::format("{} stands after this option: its words are not translated", condition.name));
    }

    const examined_options &options_;
    const examined_option &slave_;
    report &found_;
    std::string place_;
};

using masters_by_name = std::map<std::string, std::vector<std::string>>;

// The names of an option's masters, as far as its conditions count.
std::vector<std::string> masters_of(const examined_option &slave)
{
    std::vector<std::string> names;
    const char *const rule = rule_in(slave.description);
    if (rule == nullptr)
        return names;
    for (const std::string &text : list_in(slave.description, rule)) {
        _master_option condition;
        if (!kx_sane_middleware::parse_master_option(text.c_str(), condition))
            break;
        if (!condition.name.empty())
            names.push_back(condition.name);
    }
    return names;
}

// Leaves the options that nothing but each other can switch on: none of them becomes active, however the others are
// set, once all are inactive.
void keep_closed_circles(masters_by_name &masters, const examined_options &options)
{
    const auto is_free = [&masters](const std::string &name) { return masters.count(name) == 0; };
    const auto is_reached = [&](const examined_option &each) {
        const auto entry = masters.find(each.text.name);
        if (entry == masters.end())
            return false;
        const auto &names = entry->second;
        const bool one_is_enough = each.description.find("depend_or") != nullptr && !names.empty();
        return one_is_enough ? std::any_of(names.begin(), names.end(), is_free)
                             : std::all_of(names.begin(), names.end(), is_free);
    };
    for (bool changed = true; changed;) {
        changed = false;
        for (const examined_option &each : options)
            if (is_reached(each))
                changed = masters.erase(each.text.name) != 0;
    }
}

// The shortest way from an option over its masters back to itself; empty when there is none.
std::vector<std::string> circle_from(const masters_by_name &masters, const std::string &start)
{
    std::map<std::string, std::string> came_from;
    std::vector<std::string> reached{start};
    for (std::size_t at = 0; at < reached.size(); ++at) {
        const auto entry = masters.find(reached[at]);
        if (entry == masters.end())
            continue;
        for (const std::string &next : entry->second) {
            if (!came_from.emplace(next, entry->first).second)
                continue;
            if (next != start)
                reached.push_back(next);
        }
    }
    std::vector<std::string> circle;
    if (came_from.count(start) == 0)
        return circle;
    for (std::string at = came_from[start]; at != start; at = came_from[at])
        circle.insert(circle.begin(), at);
    circle.insert(circle.begin(), start);
    return circle;
}

void lint_circles(const examined_options &options, report &found)
{
    masters_by_name masters;
    for (const examined_option &each : options)
        masters.emplace(each.text.name, masters_of(each));
    keep_closed_circles(masters, options);
    std::vector<std::string> told;
    for (const examined_option &each : options) {
        const std::string &name = each.text.name;
        if (masters.count(name) == 0 || std::find(told.begin(), told.end(), name) != told.end())
            continue;
        const std::vector<std::string> circle = circle_from(masters, name);
        if (circle.empty())
            continue;
        told.insert(told.end(), circle.begin(), circle.end());
        found.error(each, std::string("/") + rule_in(each.description), "cycle",
                    fmt::format("nothing but itself can switch it on: {} -> {}", fmt::join(circle, " -> "), name));
    }
}

} // namespace

void lint_dependencies(const examined_options &options, report &found)
{
    for (const examined_option &slave : options) {
        const char *const rule = rule_in(slave.description);
        if (rule != nullptr)
            condition_check(options, slave, found).run(rule);
        if (slave.description.find("depend_or") != nullptr && slave.description.find("depend_and") != nullptr)
            found.warning(slave, "/depend_and", "two-rules", "it is ignored beside \"depend_or\"");
    }
    lint_circles(options, found);
}

} // namespace inspect
