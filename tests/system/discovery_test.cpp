// SPDX-License-Identifier: MIT
// How an application finds the scanner, and that nothing of the machine's own configuration is in the way.
#include "scanimage.h"

#include <gtest/gtest.h>

namespace system_test {

using discovery = scanimage;

TEST_F(discovery, lists_the_virtual_scanner)
{
    const outcome result = run({"-L"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("device `pelsane:virtual:duplex-feeder' is a Pelsane Virtual Duplex Feeder sheetfed scanner\n",
              result.output);
}

TEST_F(discovery, formats_the_fields_of_the_list)
{
    const outcome result = run({"-f", "%i|%d|%v|%m|%t%n"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("0|pelsane:virtual:duplex-feeder|Pelsane|Virtual Duplex Feeder|sheetfed scanner\n", result.output);
}

TEST_F(discovery, lists_the_device_of_a_profile)
{
    use_profile_with("\"model\": \"Virtual Duplex Feeder\"", "\"model\": \"Prüfgerät 7\"");
    const outcome result = run({"-L"});
    EXPECT_EQ("device `pelsane:virtual:duplex-feeder' is a Pelsane Prüfgerät 7 sheetfed scanner\n", result.output);
}

TEST_F(discovery, opens_a_device_by_its_listed_name_and_by_the_backends_name)
{
    EXPECT_EQ(0, run({"--dont-scan", "-d", "pelsane:virtual:duplex-feeder"}).status);
    EXPECT_EQ(0, run({"--dont-scan", "-d", "pelsane"}).status);
}

TEST_F(discovery, refuses_a_name_that_it_has_not_listed)
{
    const outcome result = run({"--dont-scan", "-d", "pelsane:virtual:no-such-scanner"});
    EXPECT_NE(0, result.status);
    EXPECT_TRUE(contains(result.messages, "open of device pelsane:virtual:no-such-scanner failed")) << result.messages;
}

TEST_F(discovery, shows_help_with_the_options_of_the_device)
{
    const outcome result = run({"--help", "-d", "pelsane:virtual:duplex-feeder"});
    EXPECT_EQ(0, result.status);
    EXPECT_TRUE(contains(result.output, "Usage: scanimage [OPTION]..."));
    EXPECT_TRUE(contains(result.output, "Options specific to device `pelsane:virtual:duplex-feeder':\n  Scan job:\n"));
    EXPECT_TRUE(contains(result.output, "    --restore-defaults\n"));
    EXPECT_TRUE(contains(result.output, "List of available devices:\n    pelsane:virtual:duplex-feeder"));
}

} // namespace system_test
