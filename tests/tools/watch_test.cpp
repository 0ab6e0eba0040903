// SPDX-License-Identifier: MIT
// Events as they come, and how watching ends.
#include "inspect.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <regex>

namespace inspect_test {
namespace {

namespace fs = std::filesystem;

class watch : public inspect_program {};

TEST_F(watch, shows_events_with_their_data)
{
    set_variable("PELVIRTUAL_FAULTS", "event button 2; event 0x123 after 100 ms");
    const outcome result = inspect({"watch", "--count", "2"});
    EXPECT_EQ(result.status, 0);
    const std::string times_replaced = std::regex_replace(result.output, std::regex(R"(\d\d:\d\d:\d\d)"), "TIME");
    EXPECT_EQ(times_replaced, "TIME  event 0x102, data 02 00 00 00\n"
                              "TIME  event 0x123\n");
    EXPECT_EQ(result.messages, "test:small: watching, interrupt to end\n");
}

TEST_F(watch, prints_a_line_of_json_for_each_event)
{
    set_variable("PELVIRTUAL_FAULTS", "event button 2");
    const outcome result = inspect({"watch", "test:small", "--json", "--count", "1"});
    const std::regex line(R"(\{"time":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z","event":258,"data":"02000000"\}\n)");
    EXPECT_TRUE(std::regex_match(result.output, line)) << result.output;
}

TEST_F(watch, ends_at_an_interrupt)
{
    std::signal(SIGHUP, SIG_DFL); // where these tests run under nohup
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const auto program = start(command_of({"watch"}));
        ASSERT_TRUE(program->wait_for_message("test:small: watching"));
        program->send_signal(signal);
        EXPECT_EQ(program->wait(), 0);
    }
}

TEST_F(watch, ends_when_the_scanner_is_pulled_out)
{
    fs::create_directory(path("scanners"));
    fs::copy_file(PELSANE_SMALL_SCANNER, path("scanners/small.json"));
    set_variable("PELVIRTUAL_PROFILES", path("scanners"));
    const auto program = start(command_of({"watch"}));
    ASSERT_TRUE(program->wait_for_message("test:small: watching"));
    fs::remove(path("scanners/small.json"));
    EXPECT_TRUE(program->wait_for_message("pelsane-inspect: test:small: watching: the scanner has gone\n"));
    EXPECT_EQ(program->wait(), 7);
}

// Nothing is written to a file that the driver has opened in its place.
TEST_F(watch, ends_when_its_output_cannot_be_written)
{
    set_variable("PELVIRTUAL_FAULTS", "event button every 100 ms always");
    for (const std::string option : {"", "--json "}) {
        const outcome full = run_shell("\"$INSPECT\" watch " + option + ">/dev/full");
        EXPECT_EQ(full.status, 10);
        EXPECT_EQ(full.messages, "test:small: watching, interrupt to end\n"
                                 "pelsane-inspect: standard output: No space left on device\n");
        const outcome closed = run_shell("\"$INSPECT\" watch " + option + ">&-");
        EXPECT_EQ(closed.status, 10);
        EXPECT_EQ(closed.messages, "test:small: watching, interrupt to end\n"
                                   "pelsane-inspect: standard output: Bad file descriptor\n");
    }
}

TEST_F(watch, ends_quietly_when_nobody_reads)
{
    set_variable("PELVIRTUAL_FAULTS", "event button every 100 ms always");
    const outcome result = run_shell("exec 3> >(exit 0); wait $!; \"$INSPECT\" watch >&3; echo $?");
    EXPECT_EQ(result.output, "141\n");
    EXPECT_EQ(result.messages, "test:small: watching, interrupt to end\n");
}

} // namespace
} // namespace inspect_test
