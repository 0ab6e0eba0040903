// SPDX-License-Identifier: MIT
// "set": sets options one after the other and shows for each what the scanner made of it: the value that it took, and
// every other option that is different afterwards. Options are read again in full, so that a change shows also where
// the scanner did not announce one.
// Tested by tests/tools/set_test.cpp.
#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "failure.h"
#include "option.h"
#include "output.h"
#include "scanner.h"
#include "setting.h"

#include <sane/sane.h>

#include <algorithm>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace inspect {

namespace {

struct set_arguments {
    std::vector<std::string> words;
    bool json = false;
};

struct step {
    setting_outcome outcome;
    bool inactive; // before it was set
    json_value before;
    json_value after;
    std::vector<change> others;
};

struct info_flag {
    SANE_Int bit;
    const char *word;
    const char *sentence;
};

constexpr info_flag info_flags[] = {
    {SANE_INFO_INEXACT, "inexact", "the scanner adjusted the value"},
    {SANE_INFO_RELOAD_OPTIONS, "reload-options", "other options may have changed"},
    {SANE_INFO_RELOAD_PARAMS, "reload-params", "the image parameters may have changed"},
};

// The value of the option itself is no other change.
std::vector<change> without_own_value(std::vector<change> changes, const std::string &name)
{
    const auto is_own = [&name](const change &each) { return each.option == name && each.field == "current"; };
    changes.erase(std::remove_if(changes.begin(), changes.end(), is_own), changes.end());
    return changes;
}

step set_one(const scanner &device, std::vector<option> &options, const setting &wanted)
{
    const option before = option_named(options, wanted.name);
    const setting_outcome outcome = apply(device, options, wanted);
    std::vector<option> now = read_options(device);
    const auto after =
        std::find_if(now.begin(), now.end(), [&before](const option &each) { return each.name == before.name; });
    step done{outcome, !before.is_active(), before.current, after != now.end() ? after->current : json_value(),
              without_own_value(changes_between(options, now), before.name)};
    options = std::move(now);
    return done;
}

json_value as_json(const step &done)
{
    json_value flags = json_value::array();
    for (const info_flag &flag : info_flags)
        if ((done.outcome.info & flag.bit) != 0)
            flags.push_back(flag.word);
    json_value changes = json_value::array();
    for (const change &each : done.others)
        changes.push_back(
            {{"option", each.option}, {"field", each.field}, {"before", each.before}, {"after", each.after}});
    return {{"option", done.outcome.name}, {"asked", done.outcome.asked},  {"before", done.before},
            {"after", done.after},         {"was-active", !done.inactive}, {"info", flags},
            {"changes", changes}};
}

std::string field_text(const change &shown, const json_value &value)
{
    if (shown.field == "active")
        return value.get<bool>() ? "active" : "inactive";
    return shown.field == "constraint" ? constraint_text(value) : value_text(value);
}

std::string as_text(const change &shown)
{
    const std::string difference = field_text(shown, shown.before) + " -> " + field_text(shown, shown.after);
    if (shown.field == "active" || shown.field == "current")
        return fmt::format("{}: {}", shown.option, difference);
    return fmt::format("{}, {}: {}", shown.option, shown.field, difference);
}

std::string head_line(const step &done)
{
    if (done.outcome.asked.is_null())
        return fmt::format("{}: pressed", done.outcome.name);
    if (done.after.is_null()) // one that cannot be read
        return fmt::format("{}: set to {}", done.outcome.name, value_text(done.outcome.applied));
    return fmt::format("{}: {} -> {}", done.outcome.name, value_text(done.before), value_text(done.after));
}

std::string as_text(const step &done)
{
    std::string text = printable(head_line(done)) + "\n";
    if (!done.after.is_null() && done.after != done.outcome.asked)
        text += "  asked for " + printable(value_text(done.outcome.asked)) + "\n";
    if (done.inactive)
        text += "  the option is inactive\n";
    for (const info_flag &flag : info_flags)
        if ((done.outcome.info & flag.bit) != 0)
            text += fmt::format("  {}\n", flag.sentence);
    if (done.others.empty())
        return text;
    const bool announced = (done.outcome.info & SANE_INFO_RELOAD_OPTIONS) != 0;
    text += announced ? "  changed with it:\n" : "  changed with it, unannounced:\n";
    for (const change &each : done.others)
        text += "    " + printable(as_text(each)) + "\n";
    return text;
}

struct request {
    std::string device;
    std::vector<setting> settings;
};

// The first word is the device when it sets nothing.
request request_of(const std::vector<std::string> &words)
{
    request wanted;
    auto word = words.begin();
    if (word->find('=') == std::string::npos)
        wanted.device = *word++;
    for (; word != words.end(); ++word)
        wanted.settings.push_back(setting_of(*word));
    if (wanted.settings.empty())
        throw failure(exit_status::usage, "nothing to set: NAME=VALUE is missing");
    return wanted;
}

exit_status set_options(const set_arguments &arguments)
{
    const request wanted = request_of(arguments.words);
    const backend sane;
    const scanner device(wanted.device);
    std::vector<option> options = read_options(device);
    json_value steps = json_value::array();
    for (const setting &each : wanted.settings) {
        const step done = set_one(device, options, each);
        if (arguments.json)
            steps.push_back(as_json(done));
        else
            print(as_text(done));
    }
    if (arguments.json)
        print_json({{"device", device.name()}, {"settings", steps}});
    return exit_status::done;
}

} // namespace

void add_set_command(command_line &program)
{
    const auto arguments = std::make_shared<set_arguments>();
    program
        .add_command("set", "Set options, and show what changed with them",
                     "Examples:\n"
                     "  pelsane-inspect set resolution=300 mode=Gray\n"
                     "  pelsane-inspect set virtual:duplex-feeder clear-rollers=",
                     [arguments] { return set_options(*arguments); })
        .words(arguments->words, "[DEVICE] NAME=VALUE...",
               "The scanner, which may be left out when there is only one, and what to set: a name, a\n"
               "number or a well-known identifier, and a value. An empty value presses a button")
        .json(arguments->json);
}

} // namespace inspect
