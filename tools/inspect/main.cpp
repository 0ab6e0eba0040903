// SPDX-License-Identifier: MIT
// pelsane-inspect: what a scanner says of itself, and why. The arguments choose a command, the command prints to
// standard output, and whatever goes wrong becomes one line on standard error and an exit status of its own.
// Tested by tests/tools.
#include "command.h"
#include "output.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <memory>

namespace {

using inspect::exit_status;

constexpr const char *closing_words = R"(Exit status:
   0  done
   1  done, and there are findings
   2  wrong usage
   3  no such scanner
   4  no such option
   5  access denied
   6  the scanner or its driver failed
   7  the scanner has gone
   8  the scanner refused a value or a request
   9  no paper
  10  the output could not be written
 130  interrupted

Examples:
  pelsane-inspect devices
  pelsane-inspect options virtual:duplex-feeder
  pelsane-inspect set resolution=300 mode=Gray
  pelsane-inspect explain scan-count
  pelsane-inspect scan -o page-%d.png
  pelsane-inspect COMMAND --help)";

// Arguments under their own names, as in the manual page, without the library's types and counts.
class plain_formatter : public CLI::Formatter {
public:
    // What stands for several words is no name to the library, and is given as the option's text.
    [[nodiscard]] std::string make_option_name(const CLI::Option *option, bool is_positional) const override
    {
        const std::string &words = option->get_option_text();
        return is_positional && !words.empty() ? words : CLI::Formatter::make_option_name(option, is_positional);
    }

    [[nodiscard]] std::string make_option_usage(const CLI::Option *option) const override
    {
        const std::string name = make_option_name(option, true);
        return option->get_required() ? name : "[" + name + "]";
    }

    [[nodiscard]] std::string make_option_opts(const CLI::Option *option) const override
    {
        if (option->get_positional() || option->get_type_size() == 0)
            return "";
        const std::string type = option->get_type_name();
        const std::string preset = option->get_default_str();
        return " " + type.substr(0, type.find(':')) + (preset.empty() ? "" : " (" + preset + ")") +
               (option->get_required() ? ", required" : "");
    }
};

void add_commands(CLI::App &program, inspect::chosen_command &chosen)
{
    inspect::add_devices_command(program, chosen);
    inspect::add_options_command(program, chosen);
    inspect::add_get_command(program, chosen);
    inspect::add_set_command(program, chosen);
    inspect::add_info_command(program, chosen);
    inspect::add_explain_command(program, chosen);
    inspect::add_graph_command(program, chosen);
    inspect::add_lint_command(program, chosen);
    inspect::add_capture_command(program, chosen);
    inspect::add_scan_command(program, chosen);
    inspect::add_watch_command(program, chosen);
}

exit_status run(int count, char **words)
{
    CLI::App program("See into a document scanner: what its options are, why they are greyed out, what it does.",
                     "pelsane-inspect");
    program.footer(closing_words);
    program.require_subcommand(1);
    program.formatter(std::make_shared<plain_formatter>());
    inspect::chosen_command chosen;
    add_commands(program, chosen);
    try {
        program.parse(count, words);
    } catch (const CLI::ParseError &error) {
        const bool was_help = program.exit(error) == 0;
        inspect::finish_output();
        return was_help ? exit_status::done : exit_status::usage;
    }
    const exit_status status = chosen();
    inspect::finish_output();
    return status;
}

void tell(const std::exception &error)
{
    inspect::print_message(fmt::format("pelsane-inspect: {}\n", inspect::printable(error.what())));
}

exit_status guarded_run(int count, char **words)
{
    try {
        return run(count, words);
    } catch (const inspect::failure &error) {
        std::fflush(stdout);
        tell(error);
        return error.status();
    } catch (const std::exception &error) {
        tell(error);
        return exit_status::device_failed;
    }
}

} // namespace

int main(int count, char **words)
{
    inspect::occupy_closed_streams();
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is running yet.
    std::setlocale(LC_CTYPE, "C.UTF-8"); // texts of devices are UTF-8
    std::signal(SIGPIPE, SIG_DFL);       // who reads no further ends the program, whatever the parent has set
    return static_cast<int>(guarded_run(count, words));
}
