// SPDX-License-Identifier: MIT
// "lint": mistakes in the texts by which a driver, or a profile of a virtual scanner, describes options. Findings go to
// standard output, one a line, and make an exit status of their own.
// Tested by tests/tools/lint_test.cpp.
#include "lint.h"

#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "failure.h"
#include "option_texts.h"
#include "output.h"
#include "scanner.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace inspect {

namespace {

struct lint_arguments {
    std::string subject;
    bool json = false;
};

struct examined_subject {
    std::string name; // of the device or the file
    std::vector<finding> findings;
};

std::string word_for(severity weight)
{
    return weight == severity::error ? "error" : "warning";
}

std::string line_for(const finding &shown)
{
    return fmt::format("option {}, {}{}{}: {}: {} [{}]", shown.number, shown.option.empty() ? "?" : shown.option,
                       shown.place.empty() ? "" : ", ", shown.place, word_for(shown.weight), shown.reason, shown.rule);
}

void print_text(const examined_subject &subject)
{
    std::string text;
    for (const finding &each : subject.findings)
        text += printable(line_for(each)) + "\n";
    const auto errors = std::count_if(subject.findings.begin(), subject.findings.end(),
                                      [](const finding &each) { return each.weight == severity::error; });
    print(text +
          printable(fmt::format("{}: errors: {}, warnings: {}", subject.name, errors,
                                static_cast<std::ptrdiff_t>(subject.findings.size()) - errors)) +
          "\n");
}

void print_as_json(const examined_subject &subject)
{
    json_value findings = json_value::array();
    for (const finding &each : subject.findings)
        findings.push_back({{"number", each.number},
                            {"option", each.option},
                            {"place", each.place},
                            {"severity", word_for(each.weight)},
                            {"rule", each.rule},
                            {"reason", each.reason}});
    print_json({{"subject", subject.name}, {"findings", findings}});
}

examined_subject examine(const std::string &given)
{
    const backend sane;
    std::error_code unknown;
    if (std::filesystem::exists(given, unknown))
        return {given, lint(texts_in_file(given))};
    const scanner device(given);
    return {device.name(), lint(texts_of(device))};
}

exit_status print_findings(const lint_arguments &arguments)
{
    const examined_subject subject = examine(arguments.subject);
    if (arguments.json)
        print_as_json(subject);
    else
        print_text(subject);
    return subject.findings.empty() ? exit_status::done : exit_status::findings;
}

} // namespace

void add_lint_command(command_line &program)
{
    const auto arguments = std::make_shared<lint_arguments>();
    program
        .add_command("lint", "Find mistakes in the texts by which a driver describes its options",
                     "Examples:\n"
                     "  pelsane-inspect lint virtual:duplex-feeder\n"
                     "  pelsane-inspect lint my_scanner.json",
                     [arguments] { return print_findings(*arguments); })
        .word(arguments->subject, "SUBJECT",
              "The scanner, which may be left out when there is only one, or a file: a profile of a\n"
              "virtual scanner, or texts as a driver gives them, \"name\" : {...}, one a line")
        .json(arguments->json);
}

} // namespace inspect
