// SPDX-License-Identifier: MIT
// An interrupt ends a scan soon and cleanly, wherever it finds it; the next scan is not affected.
#include "application.h"
#include "scanimage.h"

#include <gtest/gtest.h>

#include <csignal>

namespace system_test {

class cancelling : public scanimage {
protected:
    // scanimage answers the first interrupt by cancelling, and ends with the status that it then gets.
    static void expect_cancelled(application &program)
    {
        constexpr int cancelled = 2;
        program.send_signal(SIGINT);
        EXPECT_EQ(cancelled, program.wait()) << program.messages();
        EXPECT_TRUE(contains(program.messages(), "received signal 2")) << program.messages();
        EXPECT_TRUE(contains(program.messages(), "Operation was canceled")) << program.messages();
        expect_no_sanitizer_report(program.messages());
    }
};

TEST_F(cancelling, ends_the_wait_for_a_page)
{
    use_profile_with("\"feeder\": {", "\"pages_per_minute\": 0.01, \"feeder\": {");
    set_variable("PELLOG_LEVEL", "info");
    const auto program = start({"scanimage", "--format=pnm"});
    ASSERT_TRUE(program->wait_for_message("[ sane_start... ]")) << program->messages();
    program->wait_until_it_sleeps();
    expect_cancelled(*program);
}

TEST_F(cancelling, ends_a_page_half_way)
{
    const auto program = start({"scanimage", "--format=pnm", "--progress", "--resolution", "600"});
    ASSERT_TRUE(program->wait_for_message("Progress: ")) << program->messages();
    expect_cancelled(*program);
    EXPECT_LT(read_file(path("output")).size(), 4961UL * 7016UL * 3UL);
}

TEST_F(cancelling, ends_a_batch_and_leaves_the_scanner_ready)
{
    const auto program =
        start({"scanimage", "--format=pnm", "--progress", "--resolution", "600", "--batch=" + path("first-%d.pnm")});
    ASSERT_TRUE(program->wait_for_message("Scanning page 2")) << program->messages();
    ASSERT_TRUE(program->wait_for_message("Progress: ")) << program->messages();
    expect_cancelled(*program);
    const outcome result = scan_batch({"--resolution", "75"});
    EXPECT_EQ(0, result.status) << result.messages;
    EXPECT_EQ(6U, pages().size());
}

} // namespace system_test
