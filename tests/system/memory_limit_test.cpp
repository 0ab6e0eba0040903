// SPDX-License-Identifier: MIT
// scanimage with ever more memory, from too little for the libraries to enough for a page: it is told what went wrong,
// and never ends by a signal. A sanitizer takes more memory than all of it, and so does an emulator.
#include "scanimage.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace system_test {

class memory_limit : public scanimage {};

TEST_F(memory_limit, ends_a_scan_with_a_status_and_a_line_in_the_log)
{
    if (sizeof PELSANE_PRELOADED > 1 || PELSANE_EMULATED)
        GTEST_SKIP() << "runs on memory of its own";
    constexpr int input_output_error = 9;
    constexpr int out_of_memory = 10;
    const std::map<int, const char *> meanings{{0, "scanned"},
                                               {1, "not opened"},
                                               {input_output_error, "no page"},
                                               {out_of_memory, "no page"},
                                               {127, "not loaded"}};
    std::map<std::string, int> times;
    set_variable("PELLOG_LEVEL", "critical");
    // How much the libraries of scanimage take themselves is another number on each system.
    for (int kilobytes = 8000; kilobytes < 200000 && times["scanned"] < 3; kilobytes += 2000) {
        const outcome result = run_command(
            {"sh", "-c",
             "ulimit -v " + std::to_string(kilobytes) + "; exec scanimage -d pelsane --format=pnm --resolution 75"});
        ASSERT_EQ(1U, meanings.count(result.status)) << kilobytes << " KiB: " << result.status << result.messages;
        ++times[meanings.at(result.status)];
        if (result.status == input_output_error || result.status == out_of_memory) {
            EXPECT_TRUE(contains(result.messages, " critical pelsane/virtual: ")) << result.messages;
        }
    }
    EXPECT_LT(0, times["not opened"]);
    EXPECT_LT(0, times["no page"]);
    EXPECT_LT(0, times["scanned"]);
}

} // namespace system_test
