// SPDX-License-Identifier: MIT
// What goes wrong in the scanner, as the user of scanimage sees it: the message, the exit status, the pages that came
// before, and that the scanner is well again for the next one.
#include "scanimage.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <filesystem>

namespace system_test {

class fault : public scanimage {
protected:
    fault() { set_variable("PELLANG", "en"); }

    outcome scan_with(const std::string &faults)
    {
        for (const std::string &earlier : pages("pnm"))
            std::filesystem::remove(earlier);
        set_variable("PELVIRTUAL_FAULTS", faults);
        return scan_batch({"--resolution", "75"}, "pnm");
    }

    // The batch ends with the status and message of SANE's function, and the whole pages that came before are there.
    void expect_batch_end(const std::string &faults, int status, const std::string &message, std::size_t whole_pages)
    {
        const outcome result = scan_with(faults);
        EXPECT_EQ(status, result.status) << faults << ": " << result.messages;
        EXPECT_TRUE(contains(result.messages, message)) << faults << ": " << result.messages;
        ASSERT_EQ(whole_pages, pages("pnm").size()) << faults;
        for (const std::string &page : pages("pnm"))
            EXPECT_EQ(std::string("P6\n# SANE data follows\n620 877\n255\n").size() + std::size_t{877} * 620 * 3,
                      read_file(page).size())
                << faults;
    }
};

TEST_F(fault, jam_ends_the_batch_and_keeps_the_pages_before_it)
{
    expect_batch_end("jam after 2000 lines", 6, "sane_read: Document feeder jammed", 2);
}

TEST_F(fault, double_feed_is_seen_as_a_jam)
{
    expect_batch_end("double feed after 1 sheet", 6, "sane_start: Document feeder jammed", 2);
}

TEST_F(fault, empty_feeder_is_seen_after_its_sheets)
{
    expect_batch_end("empty after 2 sheets", 0, "sane_start: Document feeder out of documents", 4);
}

TEST_F(fault, empty_feeder_is_seen_at_once)
{
    expect_batch_end("empty", 7, "sane_start: Document feeder out of documents", 0);
}

TEST_F(fault, open_cover_is_seen_at_once)
{
    expect_batch_end("cover open", 8, "sane_start: Scanner cover is open", 0);
}

TEST_F(fault, cover_opened_between_pages_ends_the_batch)
{
    expect_batch_end("cover open after 3 pages", 8, "sane_start: Scanner cover is open", 3);
}

TEST_F(fault, busy_scanner_is_told_as_busy)
{
    expect_batch_end("start answers busy", 3, "sane_start: Device busy", 0);
}

TEST_F(fault, broken_line_is_told_as_a_failed_read)
{
    expect_batch_end("read_img_data at page 2 answers io", 9, "sane_read: Error during device I/O", 1);
    expect_batch_end("start from 3 answers io-write", 9, "sane_start: Error during device I/O", 2);
}

TEST_F(fault, vanished_scanner_is_told_as_a_failed_read)
{
    expect_batch_end("vanish after 900 lines", 9, "sane_read: Error during device I/O", 1);
}

TEST_F(fault, stall_and_slow_start_only_take_their_time)
{
    expect_batch_end("stall 300 ms after 1000 lines; slow start 300 ms", 0,
                     "sane_start: Document feeder out of documents", 6);
}

TEST_F(fault, stall_ends_with_an_interrupt)
{
    set_variable("PELVIRTUAL_FAULTS", "stall 3600 s after 100 lines");
    const auto program = start({"scanimage", "--format=pnm", "--progress", "--resolution", "75"});
    ASSERT_TRUE(program->wait_for_message("Progress: ")) << program->messages();
    program->wait_until_it_sleeps();
    program->send_signal(SIGINT);
    EXPECT_EQ(2, program->wait()) << program->messages();
    EXPECT_TRUE(contains(program->messages(), "Operation was canceled")) << program->messages();
    expect_no_sanitizer_report(program->messages());
}

TEST_F(fault, denied_access_is_told_when_the_scanner_is_opened)
{
    for (const char *faults : {"deny", "ask always"}) {
        const outcome result = scan_with(faults);
        EXPECT_EQ(1, result.status) << faults;
        EXPECT_TRUE(contains(result.messages, "open of device pelsane:virtual:duplex-feeder failed: Access to resource "
                                              "has been denied"))
            << faults << ": " << result.messages;
        EXPECT_TRUE(pages("pnm").empty());
    }
}

// scanimage has no answer to the question, and is content with having been asked.
TEST_F(fault, question_for_access_is_passed_once)
{
    expect_batch_end("ask", 0, "Batch terminated, 6 pages scanned", 6);
}

TEST_F(fault, vanished_scanner_is_not_listed)
{
    set_variable("PELVIRTUAL_FAULTS", "vanish");
    const outcome listing = run({"-L"});
    EXPECT_EQ(0, listing.status);
    EXPECT_TRUE(contains(listing.output, "No scanners were identified")) << listing.output;
}

TEST_F(fault, lost_scanner_has_no_options)
{
    const outcome result = scan_with("status 0xDE00");
    EXPECT_EQ(1, result.status) << result.messages;
    EXPECT_TRUE(contains(result.messages, "unable to determine option count")) << result.messages;
    EXPECT_TRUE(pages("pnm").empty());
}

TEST_F(fault, refused_setting_is_told)
{
    const outcome result = scan_with("set_parameter(resolution) answers denied always");
    EXPECT_EQ(1, result.status) << result.messages;
    EXPECT_TRUE(contains(result.messages, "setting of option --resolution failed (Access to resource has been denied)"))
        << result.messages;
}

TEST_F(fault, option_texts_with_wrong_ends_lengths_and_names_do_not_keep_from_scanning)
{
    for (const char *faults : {"garbage as unterminated", "garbage as overlong", "garbage(brightness) as misnamed",
                               "too small(mode); too small(resolution); too small(paper)"})
        expect_batch_end(faults, 0, "Batch terminated, 6 pages scanned", 6);
}

// scanimage does without none of the options.
TEST_F(fault, option_without_a_usable_text_is_told_by_its_number)
{
    for (const char *faults : {"garbage(26) as broken", "garbage(26) as empty", "too small(26) always",
                               "get_parameter(26) answers io always"}) {
        const outcome result = scan_with(faults);
        EXPECT_EQ(1, result.status) << faults << ": " << result.messages;
        EXPECT_TRUE(contains(result.messages, "Could not get option descriptor for option 26")) << result.messages;
        EXPECT_TRUE(pages("pnm").empty());
    }
}

TEST_F(fault, spoilt_option_texts_are_survived_in_a_listing_of_all_options)
{
    for (const char *kind : {"broken", "empty", "misnamed", "unterminated", "overlong"}) {
        set_variable("PELVIRTUAL_FAULTS", std::string("garbage as ") + kind);
        const outcome result = run({"-d", "pelsane", "-A"});
        EXPECT_LT(result.status, 128) << kind << ": " << result.messages;
    }
}

TEST_F(fault, text_that_cannot_be_understood_is_logged_and_does_nothing)
{
    set_variable("PELLOG_LEVEL", "critical");
    set_variable("PELLOG_FILE", path("log"));
    expect_batch_end("jam; open cover", 0, "Batch terminated, 6 pages scanned", 6);
    EXPECT_TRUE(contains(read_file(path("log")), "PELVIRTUAL_FAULTS cannot be used: line 1, column 11: \"answers\" is "
                                                 "expected and not \"cover\""))
        << read_file(path("log"));
}

} // namespace system_test
