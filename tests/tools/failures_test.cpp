// SPDX-License-Identifier: MIT
// One line and one exit status for each thing that goes wrong, whatever the command.
#include "inspect.h"

namespace inspect_test {
namespace {

class failures : public inspect_program {};

TEST_F(failures, access_is_denied)
{
    set_variable("PELVIRTUAL_FAULTS", "deny");
    for (const std::string command : {"options", "info", "watch"})
        expect_failure(inspect({command}), 5, "test:small: access denied");
}

TEST_F(failures, a_scanner_that_asks_is_opened_without_a_user)
{
    set_variable("PELVIRTUAL_FAULTS", "ask");
    EXPECT_EQ(inspect({"get", "resolution"}).output, "75\n");
}

TEST_F(failures, the_scanner_cannot_be_opened)
{
    set_variable("PELVIRTUAL_FAULTS", "open answers io");
    const outcome result = inspect({"get", "resolution"});
    EXPECT_EQ(result.status, 6);
    EXPECT_TRUE(system_test::contains(result.messages, "pelsane-inspect: test:small: cannot be opened: "))
        << result.messages;
}

TEST_F(failures, the_scanner_has_gone)
{
    set_variable("PELVIRTUAL_FAULTS", "status gone");
    expect_failure(inspect({"get", "resolution"}), 7, "test:small: the number of options: the scanner has gone");
    expect_failure(inspect({"info"}), 7, "test:small: reading the information: the scanner has gone");
}

TEST_F(failures, the_driver_does_not_start)
{
    set_variable("PELVIRTUAL_FAULTS", "initialize answers io");
    expect_failure(inspect({"devices"}), 6, "the driver lists no devices: The driver is not ready.");
}

TEST_F(failures, the_driver_lists_nothing)
{
    set_variable("PELVIRTUAL_FAULTS", "enum answers io");
    const outcome result = inspect({"devices"});
    EXPECT_EQ(result.status, 6);
    EXPECT_TRUE(system_test::contains(result.messages, "pelsane-inspect: the driver lists no devices: "))
        << result.messages;
}

TEST_F(failures, the_usage_is_wrong)
{
    for (const auto &words : std::vector<arguments>{{}, {"nothing"}, {"get"}, {"scan"}, {"options", "--colour"}}) {
        const outcome result = inspect(words);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_TRUE(system_test::contains(result.messages, "--help")) << result.messages;
    }
}

TEST_F(failures, nobody_reads_the_output)
{
    for (const std::string command : {"devices", "options", "info --json"}) {
        const outcome result = run_shell("exec 3> >(exit 0); wait $!; \"$INSPECT\" " + command + " >&3; echo $?");
        EXPECT_EQ(result.output, "141\n") << command;
        EXPECT_EQ(result.messages, "") << command;
    }
}

TEST_F(failures, the_output_has_no_room)
{
    const outcome result = run_shell("\"$INSPECT\" options >/dev/full");
    expect_failure(result, 10, "standard output: No space left on device");
}

TEST_F(failures, help_is_none)
{
    for (const std::string command : {"devices", "options", "get", "set", "info", "scan", "watch"}) {
        const outcome result = inspect({command, "--help"});
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_TRUE(system_test::contains(result.output, "pelsane-inspect " + command)) << result.output;
        EXPECT_EQ(result.messages, "");
    }
    EXPECT_TRUE(system_test::contains(inspect({"--help"}).output, "Exit status:\n   0  done\n"));
}

} // namespace
} // namespace inspect_test
