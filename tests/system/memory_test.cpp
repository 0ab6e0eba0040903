// SPDX-License-Identifier: MIT
// scanimage with its memory watched by Valgrind: no invalid access, nothing used that was never set, nothing lost.
// Valgrind does not run in an emulator. There the C library watches: no block is written beyond its ends, freed twice
// or used after it was freed, and what was never set or is gone holds a pattern that spoils the results. Nor does it
// run what is instrumented; there the sanitizers watch.
#include "scanimage.h"

#include <gtest/gtest.h>

#include <csignal>

namespace system_test {

class memory : public scanimage {
    static constexpr bool is_instrumented = sizeof PELSANE_PRELOADED > 1;

protected:
    arguments checked(const arguments &options)
    {
        arguments command;
        if (is_instrumented) {
            set_variable("ASAN_OPTIONS", "detect_leaks=1:intercept_tls_get_addr=0:exitcode=99");
            set_variable("TSAN_OPTIONS", "exitcode=99");
        } else if (PELSANE_EMULATED) {
            set_variable("LD_PRELOAD", "libc_malloc_debug.so.0");
            set_variable("GLIBC_TUNABLES", "glibc.malloc.check=3:glibc.malloc.perturb=165");
        } else {
            command = {"valgrind",
                       "--quiet",
                       "--error-exitcode=99",
                       "--leak-check=full",
                       "--errors-for-leak-kinds=definite",
                       "--show-leak-kinds=definite",
                       "--keep-debuginfo=yes"};
        }
        command.emplace_back("scanimage");
        command.insert(command.end(), options.begin(), options.end());
        return command;
    }

    outcome check(const arguments &options) { return run_command(checked(options)); }
};

TEST_F(memory, is_in_order_when_scanners_are_listed)
{
    const outcome result = check({"-L"});
    EXPECT_EQ(0, result.status) << result.messages;
    EXPECT_TRUE(contains(result.output, "pelsane:virtual:duplex-feeder")) << result.output;
}

TEST_F(memory, is_in_order_when_options_are_listed)
{
    const outcome result = check({"-A"});
    EXPECT_EQ(0, result.status) << result.messages;
    EXPECT_TRUE(contains(result.output, "--resolution auto||75|100|150|200|300|600dpi [200]"));
}

TEST_F(memory, is_in_order_when_options_change)
{
    const outcome result = check({"-A", "--mode", "Lineart", "--image-quality", "Speed", "--restore-defaults"});
    EXPECT_EQ(0, result.status) << result.messages;
}

TEST_F(memory, is_in_order_when_pages_are_scanned)
{
    const outcome result = check({"--format=pnm", "--resolution", "75", "--mode", "Lineart",
                                  "--batch=" + path("page-%d.pnm"), "--batch-count", "2"});
    EXPECT_EQ(0, result.status) << result.messages;
    EXPECT_EQ(2U, pages("pnm").size());
}

TEST_F(memory, is_in_order_when_the_feeder_is_emptied)
{
    const outcome result = check({"--format=pnm", "--resolution", "75", "--mode", "Lineart", "--page",
                                  "Both sides without blank pages", "--batch=" + path("page-%d.pnm")});
    EXPECT_EQ(0, result.status) << result.messages;
    EXPECT_TRUE(contains(result.messages, "sane_start: Document feeder out of documents")) << result.messages;
    EXPECT_EQ(6U, pages("pnm").size());
}

TEST_F(memory, is_in_order_when_a_value_is_refused_or_automatic)
{
    const outcome result = check({"-A", "--resolution", "auto", "--image-quality", "auto", "--mode", "Sepia"});
    EXPECT_NE(0, result.status);
    EXPECT_NE(99, result.status) << result.messages;
}

TEST_F(memory, is_in_order_when_a_page_is_cancelled)
{
    constexpr int cancelled = 2;
    const auto program =
        start(checked({"--format=pnm", "--progress", "--resolution", "300", "--mode", "Gray", "-o", path("page.pnm")}));
    ASSERT_TRUE(program->wait_for_message("Progress: ")) << program->messages();
    program->send_signal(SIGINT);
    EXPECT_EQ(cancelled, program->wait()) << program->messages();
}

} // namespace system_test
