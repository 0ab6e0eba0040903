// SPDX-License-Identifier: MIT
// Pages out of the feeder: one, all of them, a given number, none; fronts and backs in order.
#include "image.h"
#include "scanimage.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace system_test {

using batch = scanimage;

TEST_F(batch, begins_with_one_page)
{
    const outcome result = run({"--format=png"});
    EXPECT_EQ(0, result.status) << result.messages;
    const pix_ptr page = read_image(path("output"));
    ASSERT_NE(nullptr, page);
    EXPECT_EQ(1654, pixGetWidth(page.get()));
    EXPECT_EQ(2339, pixGetHeight(page.get()));
    EXPECT_EQ(32, pixGetDepth(page.get()));
    EXPECT_EQ(200, pixGetXRes(page.get()));
    EXPECT_EQ(200, pixGetYRes(page.get()));
}

TEST_F(batch, scans_both_sides_of_all_sheets)
{
    const outcome result = scan_batch({"--progress"});
    EXPECT_EQ(0, result.status);
    EXPECT_TRUE(contains(result.messages, "sane_start: Document feeder out of documents")) << result.messages;
    EXPECT_TRUE(contains(result.messages, "Batch terminated, 6 pages scanned")) << result.messages;
    EXPECT_TRUE(contains(result.messages, "Progress: 100.0%")) << result.messages;
    ASSERT_EQ(6U, pages().size());
    for (const std::string &file : pages()) {
        const pix_ptr page = read_image(file);
        ASSERT_NE(nullptr, page) << file;
        EXPECT_EQ(1654, pixGetWidth(page.get()));
        EXPECT_EQ(2339, pixGetHeight(page.get()));
    }
}

// The built-in document's sides all differ, so the fronts alone tell which of all the pages they are.
TEST_F(batch, brings_front_and_back_by_turns)
{
    ASSERT_EQ(0, scan_batch({"--resolution", "75"}).status);
    std::vector<std::string> both_sides;
    for (const std::string &file : pages())
        both_sides.push_back(read_file(file));
    ASSERT_EQ(6U, both_sides.size());
    for (std::size_t i = 0; i < both_sides.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(both_sides[i], both_sides[j]) << i << " and " << j;

    for (const std::string &file : pages())
        std::filesystem::remove(file);
    ASSERT_EQ(0, scan_batch({"--resolution", "75", "--page", "Front side"}).status);
    ASSERT_EQ(3U, pages().size());
    for (std::size_t sheet = 0; sheet < 3; ++sheet)
        EXPECT_EQ(both_sides[2 * sheet], read_file(pages()[sheet])) << sheet;
}

TEST_F(batch, ends_after_the_scanners_number_of_pages)
{
    const outcome result =
        scan_batch({"--resolution", "75", "--scan-mode", "Given number of pages", "--scan-count", "2"});
    EXPECT_EQ(0, result.status);
    EXPECT_TRUE(contains(result.messages, "Batch terminated, 2 pages scanned")) << result.messages;
    EXPECT_EQ(2U, pages().size());
}

TEST_F(batch, ends_after_the_applications_number_of_pages)
{
    const outcome result = scan_batch({"--resolution", "75", "--batch-count", "4"});
    EXPECT_EQ(0, result.status);
    EXPECT_TRUE(contains(result.messages, "Batch terminated, 4 pages scanned")) << result.messages;
    EXPECT_EQ(4U, pages().size());
}

TEST_F(batch, says_no_documents_when_the_feeder_is_empty)
{
    use_profile_with("\"sheets\": 3", "\"sheets\": 0");
    const outcome result = scan_batch({});
    EXPECT_EQ(7, result.status);
    EXPECT_TRUE(contains(result.messages, "sane_start: Document feeder out of documents")) << result.messages;
    EXPECT_TRUE(pages().empty());
}

TEST_F(batch, goes_through_a_full_feeder)
{
    use_profile_with("\"sheets\": 3", "\"sheets\": 50");
    const outcome result = scan_batch({"--resolution", "75", "--mode", "Lineart", "-x", "20", "-y", "20"});
    EXPECT_EQ(0, result.status);
    EXPECT_TRUE(contains(result.messages, "Batch terminated, 100 pages scanned")) << result.messages;
    EXPECT_EQ(100U, pages().size());
}

TEST_F(batch, of_two_applications_at_once_is_complete_for_each)
{
    const auto command = [this](const std::string &name) {
        return arguments{"scanimage", "--format=png", "--batch=" + path(name + "-%d.png"), "--resolution", "100",
                         "--mode",    "Gray"};
    };
    const auto one = start(command("one"), "output-one");
    const auto other = start(command("other"), "output-other");
    EXPECT_EQ(0, one->wait());
    EXPECT_EQ(0, other->wait());
    for (const auto *program : {one.get(), other.get()}) {
        EXPECT_TRUE(contains(program->messages(), "Batch terminated, 6 pages scanned")) << program->messages();
        expect_no_sanitizer_report(program->messages());
    }
    for (int number = 1; number <= 6; ++number) {
        const std::string page = std::to_string(number) + ".png";
        const std::string content = read_file(path("one-" + page));
        EXPECT_GT(content.size(), 1000U);
        EXPECT_EQ(content, read_file(path("other-" + page))) << page;
    }
}

} // namespace system_test
