// SPDX-License-Identifier: MIT
// The user's own images in the feeder, and what happens when they, or the scanner's profile, cannot be used.
#include "image.h"
#include "scanimage.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <string>

namespace system_test {

class feed : public scanimage {
protected:
    feed()
    {
        std::filesystem::create_directory(path("feed"));
        set_variable("PELVIRTUAL_FEED", path("feed"));
        set_variable("PELLOG_LEVEL", "critical");
        set_variable("PELLOG_FILE", path("log"));
    }

    [[nodiscard]] std::string log() const { return read_file(path("log")); }

    static int middle_gray(const std::string &file)
    {
        const pix_ptr page = read_image(file);
        return page != nullptr ? color_at(page.get(), 105, 148, 75).red : -1;
    }
};

TEST_F(feed, arrives_in_the_order_of_the_names)
{
    const int grays[] = {20, 60, 100, 140, 180};
    for (int i = 0; i < 5; ++i)
        write_gray_image(path("feed/sheet-" + std::to_string(i) + ".png"), grays[i]);
    const outcome result = scan_batch({"--resolution", "75", "--mode", "Gray"});
    EXPECT_EQ(0, result.status) << result.messages;
    EXPECT_TRUE(contains(result.messages, "Batch terminated, 5 pages scanned")) << result.messages;
    ASSERT_EQ(5U, pages().size());
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(grays[i], middle_gray(pages()[i])) << i;
    EXPECT_EQ("", log());
}

TEST_F(feed, that_is_empty_has_no_documents)
{
    EXPECT_EQ(7, scan_batch({}).status);
    EXPECT_TRUE(pages().empty());
}

TEST_F(feed, that_is_missing_is_said_in_the_log)
{
    set_variable("PELVIRTUAL_FEED", path("no-such-folder"));
    const outcome result = scan_batch({});
    EXPECT_EQ(9, result.status);
    EXPECT_TRUE(contains(result.messages, "sane_start: Error during device I/O")) << result.messages;
    EXPECT_TRUE(contains(log(), path("no-such-folder") + ": No such file or directory")) << log();
}

TEST_F(feed, with_a_broken_image_ends_there_and_says_which)
{
    write_gray_image(path("feed/1.png"), 100);
    write_file("feed/2.png", "this is no image");
    write_gray_image(path("feed/3.png"), 200);
    const outcome result = scan_batch({"--resolution", "75"});
    EXPECT_EQ(9, result.status);
    EXPECT_TRUE(contains(result.messages, "Batch terminated, 1 page scanned")) << result.messages;
    EXPECT_EQ(1U, pages().size());
    EXPECT_TRUE(contains(log(), path("feed/2.png") + ": ")) << log();
}

TEST_F(feed, with_an_image_cut_short_does_not_crash)
{
    write_gray_image(path("whole.png"), 100);
    write_file("feed/1.png", read_file(path("whole.png")).substr(0, 60));
    EXPECT_EQ(9, scan_batch({"--resolution", "75"}).status);
    EXPECT_TRUE(contains(log(), path("feed/1.png") + ": ")) << log();
}

TEST_F(feed, profile_that_is_no_json_leaves_no_scanner_and_says_why)
{
    write_file("broken.json", "{\"device\": ");
    set_variable("PELVIRTUAL_PROFILES", path("broken.json"));
    const outcome listing = run({"-L"});
    EXPECT_EQ(0, listing.status);
    EXPECT_TRUE(contains(listing.output, "No scanners were identified")) << listing.output;
    EXPECT_TRUE(contains(log(), path("broken.json") + ": ")) << log();
    EXPECT_TRUE(contains(log(), "parse error")) << log();
    EXPECT_EQ(1, run({"-d", "pelsane"}).status);
}

TEST_F(feed, profile_with_a_wrong_value_is_told_with_its_place)
{
    use_profile_with("\"sheets\": 3", "\"sheets\": \"three\"");
    EXPECT_TRUE(contains(run({"-L"}).output, "No scanners were identified"));
    EXPECT_TRUE(contains(log(), path("profile.json") + ": /feeder/sheets: an integer is expected")) << log();
}

} // namespace system_test
