// SPDX-License-Identifier: MIT
// What goes to standard output, and messages beside it.
#ifndef PELSANE_INSPECT_OUTPUT_H
#define PELSANE_INSPECT_OUTPUT_H

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <string_view>

namespace inspect {

using json_value = nlohmann::ordered_json;

// Text that a device gave, on one line and without what a terminal would obey: control characters become spaces, bytes
// that are no UTF-8 question marks.
[[nodiscard]] std::string printable(std::string_view text);

// The columns that a text takes on a terminal.
[[nodiscard]] std::size_t columns_of(std::string_view text);

void print(std::string_view text);

// To standard error. That nobody can read it is no failure.
void print_message(std::string_view text);

// On one line, or indented by so many columns. As little of it is obeyed by a terminal as of printable text; what is no
// UTF-8 is replaced.
[[nodiscard]] std::string json_text(const json_value &value, int indentation = -1);

// Indented, with a line end; what is no UTF-8 is replaced.
void print_json(const json_value &value);

// The same on one line, for output that never ends.
void print_json_line(const json_value &value);

// Throws failure when something that was printed could not be written.
void finish_output();

// A standard stream that the parent has closed fails when it is used, and no file that is opened later takes its place.
// Called before any other.
void occupy_closed_streams();

} // namespace inspect

#endif
