// SPDX-License-Identifier: MIT
// Messages are for those who ask for them: nothing by default, and where they go.
#include "scanimage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace system_test {

using log_variables = scanimage;

constexpr const char *start_message = "info Vantoscan/driver: [ sane_start... ]";

TEST_F(log_variables, unset_leave_the_backend_silent)
{
    const outcome result = scan_batch({"--resolution", "75", "--batch-count", "1"});
    EXPECT_EQ((std::vector<std::string>{"Scanning 1 page, incrementing by 1, numbering from 1", "Scanning page 1",
                                        "Scanned page 1. (scanner status = 5)", "Batch terminated, 1 page scanned"}),
              lines_of(result.messages));
}

TEST_F(log_variables, of_ones_own_put_messages_on_standard_error)
{
    set_variable("PELLOG_LEVEL", "info");
    const outcome result = scan_batch({"--resolution", "75", "--batch-count", "1"});
    EXPECT_EQ(0, result.status);
    EXPECT_TRUE(contains(result.messages, start_message)) << result.messages;
    EXPECT_FALSE(contains(result.messages, " debug Vantoscan/driver: ")) << result.messages;
}

TEST_F(log_variables, name_a_file_for_the_messages)
{
    set_variable("PELLOG_LEVEL", "debug");
    set_variable("PELLOG_FILE", path("log"));
    const outcome result = scan_batch({"--resolution", "75", "--batch-count", "1"});
    EXPECT_FALSE(contains(result.messages, "Vantoscan/driver")) << result.messages;
    const std::string log = read_file(path("log"));
    EXPECT_TRUE(contains(log, start_message)) << log;
    EXPECT_TRUE(contains(log, "debug Vantoscan/driver: gamma range: (0.100000, +0.000000, 5.000000)")) << log;
}

TEST_F(log_variables, of_sane_do_the_same)
{
    set_variable("SANE_DEBUG_PELSANE", "3");
    EXPECT_TRUE(contains(scan_batch({"--resolution", "75", "--batch-count", "1"}).messages, start_message));
    set_variable("SANE_DEBUG_PELSANE", "1");
    EXPECT_FALSE(contains(scan_batch({"--resolution", "75", "--batch-count", "1"}).messages, "Vantoscan/driver"));
}

} // namespace system_test
