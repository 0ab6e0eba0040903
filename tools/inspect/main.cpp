// SPDX-License-Identifier: MIT
// pelsane-inspect: what a scanner says of itself, and why. The arguments choose a command, the command prints to
// standard output, and whatever goes wrong becomes one line on standard error and an exit status of its own.
// Tested by tests/tools.
#include "command.h"
#include "command_line.h"
#include "failure.h"
#include "output.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fmt/format.h>

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

void add_commands(inspect::command_line &program)
{
    inspect::add_devices_command(program);
    inspect::add_options_command(program);
    inspect::add_get_command(program);
    inspect::add_set_command(program);
    inspect::add_info_command(program);
    inspect::add_explain_command(program);
    inspect::add_graph_command(program);
    inspect::add_lint_command(program);
    inspect::add_capture_command(program);
    inspect::add_scan_command(program);
    inspect::add_watch_command(program);
}

exit_status run(int count, char **words)
{
    inspect::command_line program(
        "pelsane-inspect", "See into a document scanner: what its options are, why they are greyed out, what it does.",
        closing_words);
    add_commands(program);
    const exit_status status = program.run(count, words);
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
