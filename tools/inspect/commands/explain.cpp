// SPDX-License-Identifier: MIT
// "explain": why an option is active or greyed out. Its conditions are shown with what they are tested against, then
// those of every master that is inactive itself, and at last what depends on the option in turn.
// Tested by tests/tools/explain_test.cpp.
#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "dependencies.h"
#include "failure.h"
#include "json.h"
#include "option.h"
#include "option_texts.h"
#include "output.h"
#include "scanner.h"
#include "setting.h"
#include "text_table.h"

#include <cstddef>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

namespace inspect {

namespace {

struct explain_arguments {
    std::vector<std::string> words;
    std::vector<std::string> settings;
    bool json = false;
};

struct explanation {
    option asked;
    std::vector<dependency> reasons;       // the option's own, then those of inactive masters; none: no conditions
    std::vector<std::string> ignored;      // conditions that the driver gives and the backend drops
    std::vector<option> dependent;         // options that depend on it
    std::vector<std::string> dependent_on; // the tests of each, joined
};

// The option's own dependency, and the chain of inactive masters that keep it from being met.
std::vector<dependency> reasons_for(const std::vector<dependency> &all, const std::string &name)
{
    std::vector<dependency> reasons;
    if (const dependency *own = dependency_of(all, name))
        reasons.push_back(*own);
    for (std::size_t at = 0; at < reasons.size(); ++at) {
        const std::vector<condition> conditions = reasons[at].conditions;
        for (const condition &each : conditions) {
            const dependency *further = dependency_of(all, each.master);
            if (each.state == condition_state::master_inactive && further != nullptr &&
                dependency_of(reasons, each.master) == nullptr)
                reasons.push_back(*further);
        }
    }
    return reasons;
}

// The tests that a dependency makes of one master.
std::string tests_of(const dependency &slave, const std::string &master)
{
    std::string tests;
    for (const condition &each : slave.conditions)
        if (each.master == master)
            tests += (tests.empty() ? "" : ", ") + master + each.test;
    return tests;
}

std::vector<std::string> ignored_of(const scanner &device, const option &asked)
{
    for (const option_text &text : texts_of(device))
        if (text.number == asked.number)
            return ignored_conditions(json(text.description.c_str()));
    return {};
}

explanation explain(const scanner &device, const std::string &name)
{
    const std::vector<option> options = read_options(device);
    const option &asked = option_named(options, name);
    const std::vector<dependency> all = read_dependencies(device);
    explanation result{asked, reasons_for(all, asked.name), ignored_of(device, asked), {}, {}};
    for (const option &each : options) {
        const dependency *slave = dependency_of(all, each.name);
        const std::string tests = slave != nullptr ? tests_of(*slave, asked.name) : "";
        if (tests.empty())
            continue;
        result.dependent.push_back(each);
        result.dependent_on.push_back(tests);
    }
    return result;
}

std::string rule_text(const dependency &shown)
{
    if (shown.conditions.size() == 1)
        return "when this holds";
    return shown.all ? "when all of these hold" : "when one of these holds";
}

std::string state_text(const condition &shown)
{
    switch (shown.state) {
    case condition_state::met:
        return "yes";
    case condition_state::not_met:
        return "no";
    case condition_state::master_inactive:
        return fmt::format("no, {} is inactive", shown.master);
    case condition_state::no_value:
        break;
    }
    return fmt::format("{} has no value", shown.master);
}

std::string as_table(const dependency &shown)
{
    text_table table({"Condition", "Now", "Holds"});
    for (const condition &each : shown.conditions)
        table.add_row({each.master + each.test, each.value, state_text(each)});
    return table.text();
}

std::string own_reason(const explanation &shown)
{
    const option &asked = shown.asked;
    std::string text = fmt::format("{} ({}) is {}.\n", printable(asked.name), printable(asked.title),
                                   asked.is_active() ? "active" : "inactive");
    if (shown.reasons.empty())
        return text + (asked.is_active() ? "It has no conditions.\n"
                                         : "It has no conditions: the driver itself says that it is inactive.\n");
    const dependency &own = shown.reasons.front();
    text += fmt::format("It is active {}:\n\n{}", rule_text(own), as_table(own));
    if (own.is_satisfied() != asked.is_active())
        text += "\nThe conditions say otherwise: they were not decided anew since a value changed.\n";
    return text;
}

void print_text(const explanation &shown)
{
    std::string text = own_reason(shown);
    for (std::size_t at = 1; at < shown.reasons.size(); ++at)
        text += fmt::format("\n{} is active {}:\n\n{}", shown.reasons[at].option, rule_text(shown.reasons[at]),
                            as_table(shown.reasons[at]));
    if (!shown.ignored.empty())
        text += "\nIgnored, from a malformed condition on:\n";
    for (const std::string &each : shown.ignored)
        text += fmt::format("  {}\n", printable(each));
    text += shown.dependent.empty() ? "\nNothing depends on it.\n" : "\nWhat depends on it:\n\n";
    text_table table({"Option", "Condition", "Active"});
    for (std::size_t at = 0; at < shown.dependent.size(); ++at)
        table.add_row(
            {shown.dependent[at].name, shown.dependent_on[at], shown.dependent[at].is_active() ? "yes" : "no"});
    print(text + (shown.dependent.empty() ? "" : table.text()));
}

json_value as_json(const dependency &shown)
{
    json_value conditions = json_value::array();
    for (const condition &each : shown.conditions)
        conditions.push_back(
            {{"master", each.master}, {"test", each.test}, {"value", each.value}, {"state", state_word(each.state)}});
    return {{"option", shown.option}, {"rule", shown.all ? "all" : "any"}, {"conditions", conditions}};
}

json_value as_json(const explanation &shown, const std::string &device)
{
    json_value reasons = json_value::array();
    for (const dependency &each : shown.reasons)
        reasons.push_back(as_json(each));
    json_value dependent = json_value::array();
    for (std::size_t at = 0; at < shown.dependent.size(); ++at)
        dependent.push_back({{"option", shown.dependent[at].name},
                             {"tests", shown.dependent_on[at]},
                             {"active", shown.dependent[at].is_active()}});
    return {{"device", device},
            {"option", shown.asked.name},
            {"number", shown.asked.number},
            {"title", shown.asked.title},
            {"active", shown.asked.is_active()},
            {"reasons", reasons},
            {"ignored", shown.ignored},
            {"dependent", dependent}};
}

exit_status print_explanation(const explain_arguments &arguments)
{
    const auto [device_name, option_name] = device_and_word(arguments.words);
    const backend sane;
    const scanner device(device_name);
    apply_all(device, arguments.settings);
    const explanation result = explain(device, option_name);
    if (arguments.json)
        print_json(as_json(result, device.name()));
    else
        print_text(result);
    return exit_status::done;
}

} // namespace

void add_explain_command(command_line &program)
{
    const auto arguments = std::make_shared<explain_arguments>();
    program
        .add_command("explain", "Say why an option is active or greyed out, and what depends on it",
                     "Examples:\n"
                     "  pelsane-inspect explain scan-count\n"
                     "  pelsane-inspect explain virtual:duplex-feeder threshold --set mode=Lineart",
                     [arguments] { return print_explanation(*arguments); })
        .option(arguments->words)
        .settings(arguments->settings)
        .json(arguments->json);
}

} // namespace inspect
