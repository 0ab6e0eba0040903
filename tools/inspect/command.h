// SPDX-License-Identifier: MIT
// How the program's commands are declared and run. Each has a file in commands/ with one function of the kind below,
// which adds its arguments to the program; when the user calls for the command, it becomes the chosen one.
#ifndef PELSANE_INSPECT_COMMAND_H
#define PELSANE_INSPECT_COMMAND_H

#include "failure.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace inspect {

using chosen_command = std::function<exit_status()>;

void add_devices_command(CLI::App &program, chosen_command &chosen);
void add_options_command(CLI::App &program, chosen_command &chosen);
void add_get_command(CLI::App &program, chosen_command &chosen);
void add_set_command(CLI::App &program, chosen_command &chosen);
void add_info_command(CLI::App &program, chosen_command &chosen);
void add_explain_command(CLI::App &program, chosen_command &chosen);
void add_graph_command(CLI::App &program, chosen_command &chosen);
void add_lint_command(CLI::App &program, chosen_command &chosen);
void add_capture_command(CLI::App &program, chosen_command &chosen);
void add_scan_command(CLI::App &program, chosen_command &chosen);
void add_watch_command(CLI::App &program, chosen_command &chosen);

// Adds a subcommand whose arguments stand in an Arguments, with --json, which is Arguments' `json`. run(arguments) does
// the work, throws failure or answers the exit status. `describe(subcommand, arguments)` declares the other arguments.
template <typename Arguments, typename Describe, typename Run>
CLI::App *add_command(CLI::App &program, chosen_command &chosen, const std::string &name, const std::string &purpose,
                      Describe describe, Run run)
{
    const auto arguments = std::make_shared<Arguments>();
    CLI::App *const command = program.add_subcommand(name, purpose);
    describe(*command, *arguments);
    command->footer(""); // the program's is not for one command
    command->add_flag("--json", arguments->json, "Print JSON, for scripts");
    command->callback([&chosen, arguments, run] { chosen = [arguments, run] { return run(*arguments); }; });
    return command;
}

// The words of a command that takes DEVICE, which may be left out, and one more word: {device or empty, the word}.
[[nodiscard]] inline std::pair<std::string, std::string> device_and_word(const std::vector<std::string> &words)
{
    return words.size() > 1 ? std::pair{words[0], words[1]} : std::pair{std::string(), words.at(0)};
}

constexpr const char *device_help = "The scanner, as \"devices\" lists it; may be left out when there is only one";
constexpr const char *option_help =
    "The scanner, which may be left out when there is only one, and an option's name, number or well-known identifier";

// --set, as apply_all takes it.
inline void add_settings(CLI::App &command, std::vector<std::string> &settings)
{
    command.add_option("--set", settings, "Set before anything else; may be given several times")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUE");
}

} // namespace inspect

#endif
