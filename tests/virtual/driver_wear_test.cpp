// SPDX-License-Identifier: MIT
// Sheets as a profile's "pages" describes them: what is seen of skew, holes, tint, print that shines through, folded
// corners, dust and noise when the scanner mends nothing.
#include "driver_fixture.h"
#include "worn_scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace driver_test {

class driver_wear : public worn_sheets {
protected:
    static std::vector<scanned_page> plain_pages()
    {
        scanner device;
        scan_plainly(device);
        return device.scan_all();
    }

    static std::vector<scanned_page> both_sides()
    {
        scanner device;
        scan_plainly(device);
        device.set("page", "Both sides");
        return device.scan_all();
    }
};

// Nothing is printed on these places of the built-in document at 100 dpi: they are 7.6 x 55.9 mm and 2.5 x 2.5 mm from
// the top left.
constexpr int margin_x = 30;
constexpr int margin_y = 220;
constexpr int corner = 10;

TEST_F(driver_wear, leaves_sheets_as_they_are_when_nothing_is_said)
{
    start_with("{}");
    const auto pages = plain_pages();
    ASSERT_EQ(3U, pages.size());
    EXPECT_EQ(255, pages[0].gray(margin_x, margin_y));
    start_profile(json::parse(content_of(DUPLEX_PROFILE)));
    EXPECT_EQ(pages[0].data, plain_pages().at(0).data);
}

TEST_F(driver_wear, gives_the_same_pages_for_the_same_seed)
{
    const char *pages = R"({"seed": 5, "skew_degrees": 2, "noise": 9, "dust": 40, "dog_ear": {"size_mm": 20}})";
    start_with(pages);
    const auto first = plain_pages();
    start_with(pages);
    const auto second = plain_pages();
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(first.at(i).data, second.at(i).data) << i;
}

TEST_F(driver_wear, gives_other_pages_for_another_seed)
{
    start_with(R"({"seed": 5, "skew_degrees": 2})");
    const auto first = plain_pages();
    start_with(R"({"seed": 6, "skew_degrees": 2})");
    EXPECT_NE(first.at(0).data, plain_pages().at(0).data);
}

TEST_F(driver_wear, lays_sheets_askew_within_the_bound)
{
    start_with(R"({"seed": 11, "skew_degrees": 3})");
    double most = 0;
    for (const scanned_page &page : plain_pages()) {
        const double skew = std::abs(skew_of(page));
        EXPECT_LE(skew, 3.1);
        most = std::max(most, skew);
    }
    EXPECT_GE(most, 0.5);
}

TEST_F(driver_wear, shows_the_dark_ground_beside_a_skew_sheet)
{
    start_with(R"({"seed": 7, "skew_degrees": 4, "behind": 20})");
    scanner device;
    scan_plainly(device);
    device.scan();
    const scanned_page page = device.scan(); // lies 1.7 degrees askew, counterclockwise
    const int right = page.parameters.pixels_per_line - 1;
    const int bottom = page.parameters.lines - 1;
    EXPECT_EQ(20, page.gray(right, 1));
    EXPECT_EQ(20, page.gray(1, bottom - 1));
    device.set("is-dark-sample", true);
    device.stop();
    device.scan();
    EXPECT_EQ(0, device.scan().gray(right, 1));
}

TEST_F(driver_wear, turns_the_back_the_other_way)
{
    start_with(R"({"seed": 7, "skew_degrees": 4})");
    const auto pages = both_sides();
    EXPECT_NEAR(skew_of(pages.at(2)), -skew_of(pages.at(3)), 0.1);
    EXPECT_GT(std::abs(skew_of(pages.at(2))), 1.0);
}

struct hole_case {
    const char *side;
    int x[2];
    int y[2];
};

TEST_F(driver_wear, punches_holes_along_an_edge)
{
    // 12 mm from the edge, 40 mm to both sides of its middle; the page has 827 x 1169 points.
    const hole_case cases[] = {
        {"left", {47, 47}, {427, 742}},
        {"right", {779, 779}, {427, 742}},
        {"top", {256, 571}, {47, 47}},
        {"bottom", {256, 571}, {1122, 1122}},
    };
    for (const hole_case &each : cases) {
        SCOPED_TRACE(each.side);
        start_with((R"({"behind": 5, "holes": {"count": 2, "side": ")" + std::string(each.side) + "\"}}").c_str());
        const auto pages = plain_pages();
        for (int hole = 0; hole < 2; ++hole) {
            for (const int offset : {-10, 0, 10}) { // a hole has a radius of 11.8 points
                EXPECT_EQ(5, pages.at(0).gray(each.x[hole] + offset, each.y[hole])) << hole;
                EXPECT_EQ(5, pages.at(0).gray(each.x[hole], each.y[hole] + offset)) << hole;
            }
        }
    }
}

TEST_F(driver_wear, has_the_holes_of_the_left_edge_at_the_right_on_backs)
{
    start_with(R"({"behind": 5, "holes": {"count": 2, "side": "left"}})");
    const auto pages = both_sides();
    EXPECT_EQ(5, pages.at(0).gray(47, 427));
    EXPECT_NE(5, pages.at(1).gray(47, 427));
    EXPECT_EQ(5, pages.at(1).gray(779, 427));
}

TEST_F(driver_wear, tints_the_paper)
{
    start_with(R"({"background": "#f4ecd0"})");
    scanner device;
    scan_plainly(device);
    device.set("mode", "Color");
    EXPECT_EQ((std::vector<int>{0xf4, 0xec, 0xd0}), device.scan().color(margin_x, margin_y));
}

TEST_F(driver_wear, leaves_every_second_back_blank)
{
    start_with(R"({"blank_backs": 2})");
    const auto pages = both_sides();
    ASSERT_EQ(6U, pages.size());
    for (std::size_t i = 0; i < pages.size(); ++i)
        EXPECT_EQ(i == 3 ? 0 : 1, points_darker_than(pages[i], 255) > 0 ? 1 : 0) << i;
}

TEST_F(driver_wear, lets_the_other_side_shine_through_mirrored)
{
    start_with(R"({"shine_through": 0.25, "blank_backs": 1})");
    const auto pages = both_sides();
    // The black square of the front, 10 to 22 mm from the left, 13 to 25 mm from the top.
    EXPECT_EQ(0, pages.at(0).gray(63, 75));
    EXPECT_NEAR(191, pages.at(1).gray(827 - 1 - 63, 75), 1);
    EXPECT_EQ(255, pages.at(1).gray(63, 75));
}

TEST_F(driver_wear, shines_the_next_file_through)
{
    const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
    for (const auto &[name, gray] : {std::pair("1.pgm", 255U), std::pair("2.pgm", 55U)}) {
        const pix_ptr image(pixCreate(210, 297, 8));
        pixSetAllArbitrary(image.get(), gray);
        ASSERT_EQ(0, pixWrite(folder_.file(name).c_str(), image.get(), IFF_PNM));
    }
    start_with(R"({"shine_through": 0.5})");
    const auto both = both_sides();
    EXPECT_NEAR(155, both.at(0).gray(400, 600), 1); // 255 - 0.5 x 200
    EXPECT_NEAR(55, both.at(1).gray(400, 600), 1);
    EXPECT_EQ(255, plain_pages().at(0).gray(400, 600));
}

TEST_F(driver_wear, leaves_the_back_of_a_file_blank)
{
    const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
    for (const char *name : {"1.png", "2.png"}) {
        const pix_ptr image(pixCreate(210, 297, 8));
        pixSetAllArbitrary(image.get(), 90);
        ASSERT_EQ(0, pixWrite(folder_.file(name).c_str(), image.get(), IFF_PNG));
    }
    start_with(R"({"blank_backs": 1})");
    const auto pages = both_sides();
    ASSERT_EQ(2U, pages.size());
    EXPECT_EQ(90, pages[0].gray(400, 600));
    EXPECT_EQ(0, points_darker_than(pages[1], 255));
}

TEST_F(driver_wear, looks_at_the_other_side_for_what_shines_through_alone)
{
    const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
    const pix_ptr image(pixCreate(210, 297, 8));
    pixSetAllArbitrary(image.get(), 90);
    ASSERT_EQ(0, pixWrite(folder_.file("1.png").c_str(), image.get(), IFF_PNG));
    write_file(folder_.file("2.png"), "no image");
    for (const auto &[pages, answer] : {std::pair("{}", 0), std::pair(R"({"shine_through": 0.1})", 269)}) {
        start_with(pages);
        scanner device;
        scan_plainly(device);
        device.set("page", "Both sides");
        EXPECT_EQ(answer, device.start()) << pages;
    }
}

TEST_F(driver_wear, lets_black_print_shine_through_as_strong_as_paper_lets_it)
{
    const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
    for (const auto &[name, gray] : {std::pair("1.png", 255U), std::pair("2.png", 0U)}) {
        const pix_ptr image(pixCreate(210, 297, 8));
        pixSetAllArbitrary(image.get(), gray);
        ASSERT_EQ(0, pixWrite(folder_.file(name).c_str(), image.get(), IFF_PNG));
    }
    for (const auto &[pages, gray] :
         {std::pair(R"({"shine_through": 0.25})", 192), std::pair(R"({"shine_through": 0.5})", 128),
          std::pair(R"({"shine_through": 1})", 0)}) {
        start_with(pages);
        EXPECT_EQ(gray, both_sides().at(0).gray(400, 600)) << pages;
    }
}

// The file after the last one is the first again in a feeder without end, and none in any other.
TEST_F(driver_wear, shines_through_the_last_file_what_comes_next)
{
    std::filesystem::create_directory(folder_.file("sheets"));
    const pix_ptr image(pixCreate(210, 297, 8));
    pixSetAllArbitrary(image.get(), 100);
    ASSERT_EQ(0, pixWrite(folder_.file("sheets/1.png").c_str(), image.get(), IFF_PNG));
    for (const auto &[is_endless, gray] : {std::pair(false, 100), std::pair(true, 70)}) { // 100 x 155 / 255 / 2 less
        json profile = json::parse(content_of(DUPLEX_PROFILE));
        profile["feeder"] = {{"source", {{"folder", "sheets"}}}, {"endless", is_endless}};
        profile["pages"] = json::parse(R"({"shine_through": 0.5})");
        start_profile(profile);
        scanner device;
        scan_plainly(device);
        device.set("page", "Both sides");
        EXPECT_EQ(gray, device.scan().gray(400, 600)) << is_endless;
    }
}

TEST_F(driver_wear, is_each_sides_own_in_noise_and_dust)
{
    json profile = json::parse(content_of(DUPLEX_PROFILE));
    profile["feeder"] = {{"source", {{"color", "#808080"}}}};
    for (const char *pages : {R"({"noise": 10})", R"({"dust": 100})"}) {
        profile["pages"] = json::parse(pages);
        start_profile(profile);
        const auto sides = both_sides();
        EXPECT_NE(sides.at(0).data, sides.at(1).data) << pages;
        EXPECT_NE(sides.at(0).data, sides.at(2).data) << pages;
    }
}

// Eight in 297 mm are 37.1 mm apart; the page has 827 x 1169 points, and a hole reaches 11.8 points around its middle.
TEST_F(driver_wear, punches_many_holes_as_close_as_they_fit)
{
    start_with(R"({"behind": 5, "holes": {"count": 8, "side": "left"}})");
    const scanned_page page = plain_pages().at(0);
    for (const int y : {73, 219, 365, 512, 658, 804, 950, 1096}) {
        for (const int offset : {-11, 0, 11}) {
            EXPECT_EQ(5, page.gray(47 + offset, y)) << y;
            EXPECT_EQ(5, page.gray(47, y + offset)) << y;
        }
        EXPECT_NE(5, page.gray(47 + 13, y)) << y;
        EXPECT_NE(5, page.gray(47 - 13, y)) << y;
    }
}

TEST_F(driver_wear, folds_corners_into_triangles)
{
    json profile = json::parse(content_of(DUPLEX_PROFILE));
    profile["feeder"] = {{"source", {{"color", "#ffffff"}}}, {"sheets", 40}};
    profile["pages"] = json::parse(R"({"behind": 9, "dog_ear": {"size_mm": 20, "every": 1}})");
    start_profile(profile);
    std::array<int, 4> folded{};
    for (const scanned_page &page : plain_pages()) {
        const int right = page.parameters.pixels_per_line - 1;
        const int bottom = page.parameters.lines - 1;
        for (std::size_t place = 0; place < 4; ++place) {
            const bool is_right = place % 2 == 1;
            const bool is_bottom = place >= 2;
            const auto gray = [&](int x, int y) {
                return page.gray(is_right ? right - x : x, is_bottom ? bottom - y : y);
            };
            if (gray(0, 0) != 9)
                continue;
            ++folded[place];
            // 20 mm are 79 points, one fewer in each row.
            for (int row = 0; row < 78; ++row) {
                EXPECT_EQ(9, gray(77 - row, row)) << row;
                EXPECT_EQ(255, gray(80 - row, row)) << row;
            }
            EXPECT_EQ(255, gray(0, 80));
        }
    }
    EXPECT_EQ(40, folded[0] + folded[1] + folded[2] + folded[3]);
    for (const int times : folded)
        EXPECT_GT(times, 0);
}

// 8 mm from the edges, 12 mm long and 0.6 mm high; the page has 827 x 1169 points.
TEST_F(driver_wear, staples_the_corner_that_is_the_left_one_of_the_front)
{
    const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
    const pix_ptr white(pixCreate(827, 1169, 8));
    pixSetAllArbitrary(white.get(), 255);
    for (const char *name : {"1.png", "2.png", "3.png"})
        ASSERT_EQ(0, pixWrite(folder_.file(name).c_str(), white.get(), IFF_PNG));
    start_with(R"({"staples": 1})");
    const auto pages = both_sides();
    const auto expect_staple = [](const scanned_page &page, int left) {
        EXPECT_EQ(47 * 3, points_darker_than(page, 255));
        for (const int x : {left, left + 46})
            for (const int y : {31, 33})
                EXPECT_EQ(96, page.gray(x, y)) << x << " " << y;
    };
    expect_staple(pages.at(0), 32);
    expect_staple(pages.at(1), 748);
    expect_staple(pages.at(2), 32);
}

TEST_F(driver_wear, folds_a_corner_of_every_second_sheet)
{
    start_with(R"({"behind": 9, "dog_ear": {"size_mm": 20, "every": 2}})");
    const auto pages = plain_pages();
    const auto folded_corners = [&](const scanned_page &page) {
        const int right = page.parameters.pixels_per_line - 1 - corner;
        const int bottom = page.parameters.lines - 1 - corner;
        int count = 0;
        for (const int x : {corner, right})
            for (const int y : {corner, bottom})
                count += page.gray(x, y) == 9 ? 1 : 0;
        return count;
    };
    EXPECT_EQ(0, folded_corners(pages.at(0)));
    EXPECT_EQ(1, folded_corners(pages.at(1)));
    EXPECT_EQ(0, folded_corners(pages.at(2)));
}

TEST_F(driver_wear, scatters_dust)
{
    start_with(R"({"dust": 200})");
    const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
    const pix_ptr white(pixCreate(827, 1169, 8));
    pixSetAllArbitrary(white.get(), 255);
    ASSERT_EQ(0, pixWrite(folder_.file("white.png").c_str(), white.get(), IFF_PNG));
    const long dark = points_darker_than(plain_pages().at(0), 100);
    EXPECT_GE(dark, 150);
    EXPECT_LE(dark, 1000);
}

TEST_F(driver_wear, keeps_noise_within_its_bound)
{
    start_with(R"({"background": "#808080", "noise": 10})");
    const scanned_page page = plain_pages().at(0);
    int least = 255;
    int most = 0;
    for (int x = 10; x < 20; ++x) {
        for (int y = 300; y < 900; ++y) {
            least = std::min(least, page.gray(x, y));
            most = std::max(most, page.gray(x, y));
        }
    }
    EXPECT_EQ(128 - 10, least);
    EXPECT_EQ(128 + 10, most);
}

TEST_F(driver_wear, keeps_the_size_of_the_page)
{
    start_with(R"({"seed": 2, "skew_degrees": 5, "dog_ear": {"size_mm": 30}})");
    for (const scanned_page &page : plain_pages()) {
        EXPECT_EQ(827, page.parameters.pixels_per_line);
        EXPECT_EQ(1169, page.parameters.lines);
    }
}

struct mistaken_pages {
    const char *pages;
    const char *complaint;
};

TEST_F(driver_wear, says_what_is_wrong_with_pages)
{
    const mistaken_pages cases[] = {
        {R"([])", "/pages: an object is expected"},
        {R"({"skew": 1})", "/pages/skew: unknown key"},
        {R"({"seed": -1})", "/pages/seed: the number is out of bounds"},
        {R"({"skew_degrees": 5.5})", "/pages/skew_degrees: the number is out of bounds"},
        {R"({"holes": {"side": "left"}})", "/pages/holes: \"count\" is missing"},
        {R"({"holes": {"count": 2, "side": "inside"}})",
         "/pages/holes/side: a sheet's sides are left, top, right and bottom"},
        {R"({"background": "red"})", "/pages/background: a colour is written as \"#ffcc00\""},
        {R"({"shine_through": 1.5})", "/pages/shine_through: the number is out of bounds"},
        {R"({"dog_ear": {"size_mm": 0}})", "/pages/dog_ear/size_mm: the number is out of bounds"},
        {R"({"dog_ear": {"size_mm": 9, "every": 0}})", "/pages/dog_ear/every: the number is out of bounds"},
        {R"({"behind": 200})", "/pages/behind: the number is out of bounds"},
        {R"({"noise": "some"})", "/pages/noise: an integer is expected"},
    };
    for (const mistaken_pages &each : cases) {
        const captured_log log;
        start_with(each.pages);
        EXPECT_NE(std::string::npos, log.text().find(each.complaint)) << each.pages << "\n" << log.text();
    }
}

} // namespace driver_test
