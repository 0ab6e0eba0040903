// SPDX-License-Identifier: MIT
// One line and one exit status for each thing that goes wrong, whatever the command.
#include "inspect.h"
#include "scanimage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

namespace inspect_test {
namespace {

class failures : public inspect_program {
protected:
    [[nodiscard]] std::vector<arguments> commands_with_a_scanner() const
    {
        return {{"options"},
                {"get", "resolution"},
                {"set", "resolution=150"},
                {"info"},
                {"explain", "threshold"},
                {"graph"},
                {"lint"},
                {"capture", "-o", path("captured.json")},
                {"scan", "-o", path("page.png")},
                {"watch"}};
    }
};

TEST_F(failures, access_is_denied)
{
    set_variable("PELVIRTUAL_FAULTS", "deny");
    for (const arguments &command : commands_with_a_scanner())
        expect_failure(inspect(command), 5, "test:small: access denied");
}

TEST_F(failures, there_is_no_scanner)
{
    std::filesystem::create_directory(path("nothing"));
    set_variable("PELVIRTUAL_PROFILES", path("nothing"));
    for (const arguments &command : commands_with_a_scanner())
        expect_failure(inspect(command), 3, "no scanner was found");
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

// It answers a few times more before it does not any longer.
TEST_F(failures, the_scanner_goes_while_it_is_read)
{
    struct {
        arguments command;
        const char *tried;
    } const cases[] = {{{"options"}, "reading the options"},
                       {{"get", "resolution"}, "reading the options"},
                       {{"set", "gamma=2"}, "reading the options"},
                       {{"explain", "threshold"}, "reading the options"},
                       {{"graph"}, "reading the options"},
                       {{"graph", "--svg", path("options.svg")}, "reading the options"},
                       {{"info"}, "reading the information"},
                       {{"capture", "-o", path("captured.json")}, "reading the information"},
                       {{"scan", "-o", path("page.png")}, "reading the options"}};
    set_variable("PELVIRTUAL_FAULTS", "get_status from 4 answers gone always");
    for (const auto &each : cases) {
        const outcome result = inspect(each.command);
        expect_failure(result, 7, std::string("test:small: ") + each.tried + ": the scanner has gone");
        EXPECT_EQ(result.output, "");
    }
    for (const char *file : {"options.svg", "captured.json", "page.png"})
        EXPECT_FALSE(std::filesystem::exists(path(file))) << file;
}

TEST_F(failures, the_scanner_goes_while_its_texts_are_read)
{
    set_variable("PELVIRTUAL_FAULTS", "get_parameter from 5 answers gone always; status gone");
    for (const char *command : {"lint", "capture"})
        expect_failure(inspect({command}), 7, "test:small: reading the options' texts: the scanner has gone");
}

TEST_F(failures, a_driver_that_denies_a_button_denies_no_access)
{
    set_variable("PELVIRTUAL_FAULTS", "set_parameter(clear-rollers) answers denied");
    expect_failure(inspect({"set", "clear-rollers="}), 8,
                   "test:small: clear-rollers: Access is denied, or the setting can only be read.");
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
    for (const std::string command :
         {"devices", "options", "options --json", "get mode", "set mode=Color", "info --json", "explain threshold",
          "explain mode --json", "graph", "graph --json", "lint", "lint --json", "capture", "capture --json",
          "scan --json -o /dev/null --format pnm", "--help"}) {
        const outcome result = run_shell("exec 3> >(exit 0); wait $!; \"$INSPECT\" " + command + " >&3; echo $?");
        EXPECT_EQ(result.output, "141\n") << command;
        EXPECT_EQ(result.messages, "") << command;
    }
}

TEST_F(failures, the_output_has_no_room)
{
    for (const std::string command : {"options", "graph", "lint", "capture", "--help"}) {
        const outcome result = run_shell("\"$INSPECT\" " + command + " >/dev/full");
        expect_failure(result, 10, "standard output: No space left on device");
    }
}

TEST_F(failures, the_output_is_closed)
{
    for (const std::string command : {"devices", "options --json", "get mode", "--help"}) {
        const outcome result = run_shell("\"$INSPECT\" " + command + " >&-");
        expect_failure(result, 10, "standard output: Bad file descriptor");
    }
}

// What failed shows in the status alone.
TEST_F(failures, the_messages_are_closed)
{
    EXPECT_EQ(run_shell("\"$INSPECT\" get nothing 2>&-").status, 4);
    EXPECT_EQ(run_shell("\"$INSPECT\" get nothing 2>/dev/full").status, 4);
    EXPECT_EQ(run_shell("\"$INSPECT\" get mode <&- 2>&-").output, "Gray\n");
    const outcome scanned = run_shell("\"$INSPECT\" scan -o '" + path("a.pgm") + "' 2>&-");
    EXPECT_EQ(scanned.status, 0);
    EXPECT_EQ(scanned.output, path("a.pgm") + ": 310 x 437, gray, 8 bits\n");
}

TEST_F(failures, help_is_none)
{
    for (const std::string command :
         {"devices", "options", "get", "set", "info", "explain", "graph", "lint", "capture", "scan", "watch"}) {
        const outcome result = inspect({command, "--help"});
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_TRUE(system_test::contains(result.output, "pelsane-inspect " + command)) << result.output;
        EXPECT_TRUE(system_test::contains(result.output, "\nExample")) << result.output;
        EXPECT_EQ(result.messages, "");
    }
    EXPECT_TRUE(system_test::contains(inspect({"get", "--help"}).output,
                                      "Usage: pelsane-inspect get [OPTIONS] [DEVICE] NAME\n"));
    EXPECT_TRUE(system_test::contains(inspect({"set", "--help"}).output,
                                      "Usage: pelsane-inspect set [OPTIONS] [DEVICE] NAME=VALUE...\n"));
    EXPECT_TRUE(system_test::contains(inspect({"--help"}).output, "Exit status:\n   0  done\n"));
}

} // namespace
} // namespace inspect_test
