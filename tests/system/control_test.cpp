// SPDX-License-Identifier: MIT
// What happens to the scanner, by command, while scanimage scans.
#include "application.h"
#include "commander.h"
#include "scanimage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

namespace system_test {

// A batch of as many pages as one likes, and the scanner's control socket.
class controlled : public scanimage {
protected:
    controlled()
    {
        use_profile_with(R"("sheets": 3)", R"("sheets": 3, "endless": true)");
        set_variable("PELVIRTUAL_CONTROL", path("control"));
    }

    [[nodiscard]] std::unique_ptr<application> start_batch() const
    {
        return start({"scanimage", "--format=pnm", "--resolution", "75", "--batch=" + path("page-%d.pnm")});
    }

    [[nodiscard]] std::string command(const std::string &line) const
    {
        return surroundings::commander(path("control")).command(line);
    }

    // The batch that is under way ends with this message and status after the command.
    void expect_end_after(const std::string &line, const std::string &message, int status) const
    {
        const auto program = start_batch();
        ASSERT_TRUE(program->wait_for_message("Scanning page 3")) << program->messages();
        EXPECT_EQ("ok", command(line));
        EXPECT_EQ(status, program->wait()) << program->messages();
        EXPECT_TRUE(contains(program->messages(), message)) << program->messages();
        expect_no_sanitizer_report(program->messages());
        EXPECT_LE(2U, pages("pnm").size());
        EXPECT_FALSE(std::filesystem::exists(path("control")));
    }
};

TEST_F(controlled, jam_ends_a_running_batch)
{
    expect_end_after("jam", "Document feeder jammed", 6);
}

TEST_F(controlled, opened_cover_ends_a_running_batch)
{
    expect_end_after("event cover-open", "Scanner cover is open", 8);
}

TEST_F(controlled, taken_paper_ends_a_running_batch)
{
    expect_end_after("event paper-out", "Document feeder out of documents", 0);
}

TEST_F(controlled, vanished_scanner_ends_a_running_batch)
{
    expect_end_after("vanish", "Error during device I/O", 9);
}

} // namespace system_test
