// SPDX-License-Identifier: MIT
// Where pages come from: the glass, the feeder's fronts and backs, folders, colours, feeders without end; how fast they
// come; and what a setting answers when the profile says so.
#include "driver_fixture.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace driver_test {

// A scanner with a source option at 25 dpi; what a test adds to its profile stands before the options.
class driver_sources : public ::testing::Test {
protected:
    void start(const std::string &further, const std::string &option = "")
    {
        const std::string path = write_file(
            folder_.file("profile.json"),
            R"({"device": {"name": "test:sources", "vendor": "V", "model": "M", "type": "flatbed scanner"}, )" +
                further + R"("papers": {}, "information": {}, "options": [
                {"name": "resolution", "type": "int", "title": 1, "desc": 2, "range": [25, 200], "default": 25,
                 "means": "resolution"},
                {"name": "source", "type": "string", "title": 1, "desc": 2,
                 "range": ["Flatbed", "ADF Front", "ADF Back", "ADF Duplex"], "default": "Flatbed",
                 "means": "source",
                 "meanings": {"Flatbed": "flatbed", "ADF Front": "front", "ADF Back": "back", "ADF Duplex": "both"}}
                )" +
                option + "]}");
        profiles_.emplace("PELVIRTUAL_PROFILES", path.c_str());
        ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    }

    void TearDown() override { EXPECT_EQ(0, kx_scanner_uninitialize()); }

    // A folder of the profile's with an even grey in each image.
    void write_images(const std::string &name, const std::vector<int> &grays) const
    {
        std::filesystem::create_directory(folder_.file(name));
        for (std::size_t i = 0; i < grays.size(); ++i)
            write_file(folder_.file(name + "/" + std::to_string(i) + ".pgm"),
                       "P5 4 6 255\n" + std::string(24, static_cast<char>(grays[i])));
    }

    // Red of the middle of the next pages.
    static std::vector<int> next_pages(scanner &device, int count)
    {
        std::vector<int> found;
        found.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            found.push_back(device.scan().color(100, 140)[0]);
        return found;
    }

    // Page of the job, sheet and side as the image information tells them.
    static std::vector<int> numbers(const scanner &device)
    {
        std::int32_t information[12] = {};
        EXPECT_EQ(0, kx_scanner_get_img_info(device.handle(), information, 48));
        return {information[6], information[7], information[8]};
    }

    temporary_folder folder_;
    std::optional<environment_variable> profiles_;
};

TEST_F(driver_sources, with_a_sheet_on_the_glass_scan_it_again_in_each_job)
{
    start("");
    scanner device;
    for (int job = 0; job < 4; ++job) {
        ASSERT_EQ(0, device.start());
        EXPECT_EQ((std::vector<int>{1, 1, 0}), numbers(device));
        const scanned_page page = device.read();
        EXPECT_EQ(207, page.parameters.pixels_per_line);
        EXPECT_EQ(292, page.parameters.lines);
    }
}

TEST_F(driver_sources, on_the_glass_and_in_the_feeder_do_not_mix)
{
    write_images("glass", {10, 20});
    write_images("feeder", {110, 120, 130});
    start(R"("flatbed": {"source": {"folder": "glass"}}, "feeder": {"source": {"folder": "feeder"}}, )");
    scanner device;
    device.set("resolution", 200);
    device.set("source", "ADF Front");
    EXPECT_EQ((std::vector<int>{110, 120}), next_pages(device, 2));
    device.set("source", "Flatbed");
    EXPECT_EQ((std::vector<int>{10, 10}), next_pages(device, 2));
    ASSERT_EQ(0, device.start()); // given up for the feeder, whose job begins anew
    device.set("source", "ADF Front");
    EXPECT_EQ((std::vector<int>{110, 120, 130}), next_pages(device, 3));
    EXPECT_EQ(0xDE07, device.start());
}

TEST_F(driver_sources, of_an_empty_feeder_say_so_beside_the_glass)
{
    start(R"("feeder": {"sheets": 0}, )");
    scanner device;
    for (const char *side : {"ADF Front", "ADF Back", "ADF Duplex"}) {
        device.set("source", side);
        EXPECT_EQ(0xDE07, device.start());
    }
    device.set("source", "Flatbed");
    EXPECT_EQ(0, device.start());
}

TEST_F(driver_sources, of_an_empty_glass_have_no_page)
{
    write_images("glass", {});
    start(R"("flatbed": {"source": {"folder": "glass"}}, )");
    scanner device;
    EXPECT_EQ(0xDE07, device.start());
    write_images("glass", {77});
    device.set("resolution", 200);
    EXPECT_EQ((std::vector<int>{77}), next_pages(device, 1));
}

TEST_F(driver_sources, of_the_feeder_are_fronts_or_backs_or_both)
{
    start("");
    scanner device;
    const struct {
        const char *source;
        std::vector<std::vector<int>> pages;
    } cases[] = {
        {"ADF Front", {{1, 1, 0}, {2, 2, 0}, {3, 3, 0}}},
        {"ADF Back", {{1, 1, 1}, {2, 2, 1}, {3, 3, 1}}},
        {"ADF Duplex", {{1, 1, 0}, {2, 1, 1}, {3, 2, 0}, {4, 2, 1}, {5, 3, 0}, {6, 3, 1}}},
    };
    for (const auto &each : cases) {
        device.set("source", each.source);
        for (const auto &page : each.pages) {
            ASSERT_EQ(0, device.start()) << each.source;
            EXPECT_EQ(page, numbers(device)) << each.source;
        }
        EXPECT_EQ(0xDE07, device.start()) << each.source;
    }
}

TEST_F(driver_sources, of_one_colour_have_it_all_over)
{
    start(R"("feeder": {"source": {"color": "#10C8ff"}, "sheets": 1}, )");
    scanner device;
    device.set("source", "ADF Duplex");
    for (int side = 0; side < 2; ++side) {
        const scanned_page page = device.scan();
        for (const auto &[x, y] : {std::pair(0, 0), std::pair(206, 0), std::pair(100, 150), std::pair(206, 291)})
            EXPECT_EQ((std::vector<int>{16, 200, 255}), page.color(x, y));
    }
    EXPECT_EQ(0xDE07, device.start());
}

TEST_F(driver_sources, of_an_endless_folder_come_round_again)
{
    write_images("feeder", {50, 60, 70});
    start(R"("feeder": {"source": {"folder": "feeder"}, "endless": true}, )");
    scanner device;
    device.set("resolution", 200);
    device.set("source", "ADF Duplex");
    EXPECT_EQ((std::vector<int>{50, 60, 70, 50, 60, 70, 50}), next_pages(device, 7));
    ASSERT_EQ(0, device.start());
    EXPECT_EQ((std::vector<int>{8, 4, 1}), numbers(device));
}

TEST_F(driver_sources, of_an_endless_document_have_further_sheets)
{
    start(R"("feeder": {"sheets": 2, "endless": true}, )");
    scanner device;
    device.set("source", "ADF Front");
    for (int page = 1; page <= 50; ++page) {
        ASSERT_EQ(0, device.start());
        EXPECT_EQ((std::vector<int>{page, page, 0}), numbers(device));
    }
    EXPECT_EQ(0, device.stop());
    long length = 1;
    char byte = 0;
    EXPECT_EQ(2, kx_scanner_read_img_data(device.handle(), &byte, &length));
    ASSERT_EQ(0, device.start());
    EXPECT_EQ((std::vector<int>{1, 1, 0}), numbers(device));
}

TEST_F(driver_sources, of_an_endless_feeder_without_sheets_are_none)
{
    start(R"("feeder": {"sheets": 0, "endless": true}, )");
    scanner device;
    device.set("source", "ADF Front");
    EXPECT_EQ(0xDE07, device.start());
}

TEST_F(driver_sources, of_the_environment_go_before_the_feeders_own)
{
    write_images("other", {90});
    const environment_variable feed("PELVIRTUAL_FEED", folder_.file("other").c_str());
    start(R"("feeder": {"source": {"color": "#000000"}}, "flatbed": {"source": {"color": "#404040"}}, )");
    scanner device;
    device.set("resolution", 200);
    device.set("source", "ADF Front");
    EXPECT_EQ((std::vector<int>{90}), next_pages(device, 1));
    EXPECT_EQ(0xDE07, device.start());
    device.set("source", "Flatbed");
    EXPECT_EQ((std::vector<int>{64}), next_pages(device, 1));
}

TEST_F(driver_sources, keep_to_the_pages_per_minute)
{
    start(R"("pages_per_minute": 600, )");
    scanner device;
    device.set("source", "ADF Front");
    const auto before = std::chrono::steady_clock::now();
    for (int page = 0; page < 3; ++page)
        ASSERT_EQ(0, device.start());
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(300));
}

TEST_F(driver_sources, and_sides_are_not_chosen_by_two_options)
{
    const captured_log log;
    start("", R"(, {"name": "page", "type": "string", "title": 1, "desc": 2, "range": ["front"], "default": "front",
                    "means": "sides"})");
    EXPECT_NE(std::string::npos,
              log.text().find("/options: one option means the sides and another one the source, which tells the sides"))
        << log.text();
}

TEST_F(driver_sources, answer_a_setting_as_the_profile_says)
{
    start("", R"(, {"name": "plain", "type": "bool", "title": 1, "desc": 2, "default": true, "image": true,
                    "answers": 0},
                   {"name": "other", "type": "bool", "title": 1, "desc": 2, "default": true, "answers": 262},
                   {"name": "image", "type": "bool", "title": 1, "desc": 2, "default": true, "answers": 277},
                   {"name": "both", "type": "int", "title": 1, "desc": 2, "range": {"min": 0, "max": 8, "step": 2},
                    "default": 0, "answers": 278},
                   {"name": "push", "type": "button", "title": 1, "desc": 2, "answers": 277},
                   {"name": "back", "type": "button", "title": 1, "desc": 2, "means": "restore", "answers": 262})");
    scanner device;
    EXPECT_EQ(0, device.set("plain", false));
    EXPECT_EQ(262, device.set("other", false));
    EXPECT_EQ(277, device.set("image", false));
    EXPECT_EQ(278, device.set("both", 4));
    EXPECT_EQ(261, device.set("both", 5)); // adjusted, which goes before
    EXPECT_EQ(277, device.set("push", true));
    EXPECT_EQ(262, device.set("back", true));
}

} // namespace driver_test
