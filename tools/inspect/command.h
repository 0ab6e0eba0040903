// SPDX-License-Identifier: MIT
// The commands. Each has a file in commands/ with one function of the kind below, which adds it to the program.
#ifndef PELSANE_INSPECT_COMMAND_H
#define PELSANE_INSPECT_COMMAND_H

#include "command_line.h"

#include <string>
#include <utility>
#include <vector>

namespace inspect {

void add_devices_command(command_line &program);
void add_options_command(command_line &program);
void add_get_command(command_line &program);
void add_set_command(command_line &program);
void add_info_command(command_line &program);
void add_explain_command(command_line &program);
void add_graph_command(command_line &program);
void add_lint_command(command_line &program);
void add_capture_command(command_line &program);
void add_scan_command(command_line &program);
void add_watch_command(command_line &program);

// The words of a command that takes DEVICE, which may be left out, and one more word: {device or empty, the word}.
[[nodiscard]] inline std::pair<std::string, std::string> device_and_word(const std::vector<std::string> &words)
{
    return words.size() > 1 ? std::pair{words[0], words[1]} : std::pair{std::string(), words.at(0)};
}

} // namespace inspect

#endif
