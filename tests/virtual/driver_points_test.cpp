// SPDX-License-Identifier: MIT
// Points of small sheets, each of which is an image of as many points as the page has: how far filters and thresholds
// reach, what tones become, and what is done where a profile has no option that says it.
#include "driver_fixture.h"
#include "worn_scanner.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace driver_test {

class driver_points : public worn_sheets {
protected:
    static json option(const char *meaning, const char *type, const json &value)
    {
        return {{"name", meaning}, {"type", type}, {"title", 1}, {"desc", 2}, {"default", value}, {"means", meaning}};
    }
    static json flag(const char *meaning) { return option(meaning, "bool", true); }
    static json number(const char *meaning, int value)
    {
        json made = option(meaning, "int", value);
        made["range"] = {value};
        return made;
    }
    static json word(const char *meaning, const char *value)
    {
        json made = option(meaning, "string", value);
        made["range"] = {value};
        return made;
    }

    // A scanner of square sheets that has one value for each of these options and for the resolution.
    void start(int dpi, const std::vector<json> &options, double sheet_mm = 25.4, const char *pages = nullptr)
    {
        json profile = json::parse(R"({"device": {"name": "test:points", "vendor": "V", "model": "M",
                                                  "type": "sheetfed scanner"}, "information": {}})");
        profile["papers"]["Square"] = {{"width", sheet_mm}, {"height", sheet_mm}};
        profile["options"] = options;
        profile["options"].push_back(word("paper", "Square"));
        profile["options"].push_back(number("resolution", dpi));
        if (pages != nullptr)
            profile["pages"] = json::parse(pages);
        start_profile(profile);
    }

    // The page of an image of greys that is `size` points wide and high.
    scanned_page page_of(int size, const std::function<int(int x, int y)> &gray)
    {
        const pix_ptr image(pixCreate(size, size, 8));
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                pixSetPixel(image.get(), x, y, static_cast<l_uint32>(gray(x, y)));
        EXPECT_EQ(0, pixWrite(folder_.file("sheet.png").c_str(), image.get(), IFF_PNG));
        return fed_page();
    }

    scanned_page page_of_colors(int size, const std::function<std::array<int, 3>(int x, int y)> &color)
    {
        const pix_ptr image(pixCreate(size, size, 32));
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const auto parts = color(x, y);
                pixSetRGBPixel(image.get(), x, y, parts[0], parts[1], parts[2]);
            }
        }
        EXPECT_EQ(0, pixWrite(folder_.file("sheet.png").c_str(), image.get(), IFF_PNG));
        return fed_page();
    }

private:
    scanned_page fed_page()
    {
        const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
        scanner device;
        return device.scan();
    }
};

namespace {

using grays = std::vector<int>;

grays along_row(const scanned_page &page, int y, int begin, int end)
{
    grays found;
    for (int x = begin; x < end; ++x)
        found.push_back(page.gray(x, y));
    return found;
}

grays along_column(const scanned_page &page, int x, int begin, int end)
{
    grays found;
    for (int y = begin; y < end; ++y)
        found.push_back(page.gray(x, y));
    return found;
}

void expect_near(const grays &expected, const grays &found)
{
    ASSERT_EQ(expected.size(), found.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(expected[i], found[i], 1) << i;
}

std::vector<int> black_in_row(const scanned_page &page, int y)
{
    std::vector<int> places;
    for (int x = 0; x < page.parameters.pixels_per_line; ++x)
        if (page.black(x, y))
            places.push_back(x);
    return places;
}

std::vector<int> from_to(int begin, int end)
{
    std::vector<int> places;
    for (int i = begin; i < end; ++i)
        places.push_back(i);
    return places;
}

} // namespace

// Black that has nothing lighter around it is no print: where half the sheet is black, a strip beside the white half is
// as wide as the neighbourhood that is looked at, a twelfth of an inch and four points at least.
TEST_F(driver_points, are_compared_with_a_twelfth_of_an_inch_around_them)
{
    const struct {
        int dpi;
        double sheet_mm;
        int points;
        int strip;
    } cases[] = {
        {600, 25.4, 600, 50}, {600, 30.48, 720, 50}, {300, 25.4, 300, 25}, {66, 25.4, 66, 5},   {60, 25.4, 60, 5},
        {59, 25.4, 59, 4},    {25, 25.4, 25, 4},     {25, 14.224, 14, 4},  {25, 12.192, 12, 3}, {25, 10.16, 10, 2},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(std::to_string(each.dpi) + " dpi, " + std::to_string(each.points) + " points");
        start(each.dpi, {word("mode", "lineart"), word("binarization", "adaptive")}, each.sheet_mm);
        const int half = each.points / 2;
        const scanned_page page = page_of(each.points, [&](int x, int) { return x < half ? 255 : 0; });
        ASSERT_EQ(each.points, page.parameters.pixels_per_line);
        EXPECT_EQ(from_to(half, half + each.strip), black_in_row(page, half));
    }
}

TEST_F(driver_points, are_compared_with_all_others_on_the_smallest_sheets)
{
    json profile = json::parse(R"({
        "device": {"name": "test:smallest", "vendor": "V", "model": "M", "type": "sheetfed scanner"},
        "papers": {"Own": {"width": 100, "height": 100, "original": true}}, "information": {}})");
    profile["options"] = {word("mode", "lineart"), word("binarization", "adaptive"), word("paper", "Own"),
                          number("resolution", 25)};
    start_profile(profile);
    const pix_ptr image(pixCreate(8, 8, 8));
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            pixSetPixel(image.get(), x, y, x < 4 ? 255 : 0);
    pixSetResolution(image.get(), 25, 25);
    ASSERT_EQ(0, pixWrite(folder_.file("sheet.tif").c_str(), image.get(), IFF_TIFF));
    const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
    scanner device;
    const scanned_page page = device.scan();
    ASSERT_EQ(8, page.parameters.pixels_per_line);
    EXPECT_EQ((std::vector<int>{4, 5, 6, 7}), black_in_row(page, 4));
}

// 200 becomes 149, which is white; if it became darker once more, it would be black.
TEST_F(driver_points, take_their_tones_once_before_they_become_black_or_white)
{
    start(100, {word("mode", "lineart"), number("brightness", -40), flag("despeckle")});
    const scanned_page page = page_of(100, [](int x, int y) { return x == 50 && y >= 50 ? 178 : 200; });
    for (int y = 0; y < 50; ++y)
        EXPECT_EQ((std::vector<int>{}), black_in_row(page, y)) << y;
    for (int y = 50; y < 100; ++y)
        EXPECT_EQ((std::vector<int>{50}), black_in_row(page, y)) << y; // 178 - 51 = 127
}

TEST_F(driver_points, are_smoothed_over_a_window_that_grows_with_the_resolution)
{
    const struct {
        int dpi;
        grays edge;
    } cases[] = {
        {100, {0, 0, 0, 85, 170, 255, 255, 255}},
        {399, {0, 0, 0, 85, 170, 255, 255, 255}},
        {400, {0, 0, 51, 102, 153, 204, 255, 255}},
        {600, {0, 36, 73, 109, 146, 182, 219, 255}},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.dpi);
        start(each.dpi, {word("mode", "gray"), flag("remove-moire")});
        const int half = each.dpi / 2;
        expect_near(each.edge, along_row(page_of(each.dpi, [&](int x, int) { return x < half ? 0 : 255; }), half,
                                         half - 4, half + 4));
        expect_near(each.edge, along_column(page_of(each.dpi, [&](int, int y) { return y < half ? 0 : 255; }), half,
                                            half - 4, half + 4));
    }
}

// The median of three by three points takes lines of one point away and leaves those of two, that of five by five
// takes these away, too.
TEST_F(driver_points, lose_thin_lines_with_the_printed_screen)
{
    const auto page = [&](int dpi) {
        start(dpi, {word("mode", "gray"), flag("remove-halftone")});
        return page_of(dpi, [](int x, int) { return x == 30 || x == 40 || x == 41 || (x >= 60 && x < 63) ? 0 : 255; });
    };
    const auto lying_page = [&](int dpi) {
        start(dpi, {word("mode", "gray"), flag("remove-halftone")});
        return page_of(dpi, [](int, int y) { return y == 30 || y == 40 || y == 41 || (y >= 60 && y < 63) ? 0 : 255; });
    };
    EXPECT_EQ((grays{255, 255, 255}), along_column(lying_page(200), 100, 29, 32));
    EXPECT_EQ((grays{255, 0, 0, 255}), along_column(lying_page(200), 100, 39, 43));
    EXPECT_EQ((grays{255, 255, 255, 255}), along_column(lying_page(400), 100, 39, 43));
    EXPECT_EQ((grays{255, 0, 0, 0, 255}), along_column(lying_page(400), 100, 59, 64));
    EXPECT_EQ((grays{255, 255, 255}), along_row(page(200), 100, 29, 32));
    EXPECT_EQ((grays{255, 0, 0, 255}), along_row(page(200), 100, 39, 43));
    EXPECT_EQ((grays{255, 0, 0, 255}), along_row(page(399), 100, 39, 43));
    EXPECT_EQ((grays{255, 255, 255, 255}), along_row(page(400), 100, 39, 43));
    EXPECT_EQ((grays{255, 0, 0, 0, 255}), along_row(page(400), 100, 59, 64));
}

TEST_F(driver_points, are_sharpened_by_what_surrounds_them)
{
    const struct {
        const char *sharpness;
        grays edge;
    } cases[] = {
        {"none", {100, 100, 100, 200, 200, 200}},
        {"sharpen", {100, 90, 80, 220, 210, 200}},
        {"sharpen-more", {100, 76, 52, 248, 224, 200}},
        {"soften", {100, 100, 133, 167, 200, 200}},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.sharpness);
        start(100, {word("mode", "gray"), word("sharpness", each.sharpness)});
        expect_near(each.edge, along_row(page_of(100, [](int x, int) { return x < 50 ? 100 : 200; }), 50, 47, 53));
        expect_near(each.edge, along_column(page_of(100, [](int, int y) { return y < 50 ? 100 : 200; }), 50, 47, 53));
    }
}

TEST_F(driver_points, become_lighter_with_the_paper)
{
    start(100, {word("mode", "gray"), flag("erase-background")});
    const auto gray_of = [](int x, int y) { return y < 80 ? 250 : x < 50 ? 180 : 240; };
    const scanned_page page = page_of(100, gray_of);
    // 250 is paper, so that 180 is 183.6 of 255; and 240 of 255 are white, as they may be grain of the paper.
    EXPECT_EQ(255, page.gray(50, 40));
    EXPECT_NEAR(195, page.gray(20, 90), 1);
    EXPECT_EQ(255, page.gray(70, 90));

    start(100, {word("mode", "gray"), flag("erase-background")});
    const scanned_page white = page_of(100, [](int x, int y) { return y < 80 ? 255 : x < 50 ? 180 : 239; });
    EXPECT_EQ(191, white.gray(20, 90)); // 180 * 255 / 240 = 191.25
    EXPECT_EQ(254, white.gray(70, 90)); // 239 * 255 / 240 = 253.9
}

// Five times 2 % where a profile does not say it: paper from 229.5 on, which is the middle of the greys called 229.
TEST_F(driver_points, of_a_background_up_to_a_tenth_darker_than_white_are_erased)
{
    for (const auto &[before, after] : {std::pair(228, 228), std::pair(229, 255)}) {
        start(100, {word("mode", "gray"), flag("erase-background")});
        const int gray = before;
        EXPECT_EQ(after, page_of(100, [=](int, int) { return gray; }).gray(50, 50));
    }
}

TEST_F(driver_points, of_tinted_paper_lose_the_tint_when_none_of_its_colours_is_below_the_middle)
{
    using color = std::array<int, 3>;
    start(100, {word("mode", "color"), flag("correct-color")});
    for (const int part : page_of_colors(100, [](int, int) { return color{127, 140, 160}; }).color(50, 50))
        EXPECT_NEAR(160, part, 1);
    EXPECT_EQ((std::vector<int>{126, 140, 160}),
              page_of_colors(100, [](int, int) { return color{126, 140, 160}; }).color(50, 50));
}

// Fewer than a point for each square millimetre, of which every one counts.
TEST_F(driver_points, all_tell_the_paper_where_there_are_few)
{
    start(25, {word("mode", "gray"), flag("erase-background")}, 40.64);
    const scanned_page page = page_of(40, [](int x, int y) { return x % 2 == 0 && y % 2 == 0 ? 255 : 232; });
    EXPECT_EQ(255, page.gray(21, 21));
}

TEST_F(driver_points, stay_as_they_are_without_an_option_that_acts)
{
    // Tinted paper with specks, a frame, a hole, lines and nearly white grain.
    const auto sheet = [](int x, int y) -> std::array<int, 3> {
        if (x < 3 || std::hypot(x - 20, y - 100) < 24)
            return {0, 0, 0};
        if (x % 4 == 0 && y % 4 == 0)
            return {128, 128, 128};
        if (x > 100 && x % 2 == 0)
            return {127, 127, 127};
        return {250, 240, 230};
    };
    start(200, {}, 25.4, "{}");
    const scanned_page color = page_of_colors(200, sheet);
    ASSERT_EQ(SANE_FRAME_RGB, color.parameters.format);
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 200; ++x)
            ASSERT_EQ((std::vector<int>{sheet(x, y)[0], sheet(x, y)[1], sheet(x, y)[2]}), color.color(x, y))
                << x << " " << y;
    start(200, {word("mode", "lineart")}, 25.4, "{}");
    const scanned_page lineart = page_of_colors(200, sheet);
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 200; ++x)
            ASSERT_EQ(sheet(x, y)[0] < 128, lineart.black(x, y)) << x << " " << y;
}

TEST_F(driver_points, of_any_sheet_become_a_page_unless_it_is_to_be_checked)
{
    const char *pages = R"({"seed": 3, "skew_degrees": 0.5, "staples": 1, "dog_ear": {"size_mm": 1}})";
    const auto answer = [&](const std::vector<json> &options) {
        start(100, options, 25.4, pages);
        scanner device;
        return device.start();
    };
    EXPECT_EQ(0, answer({}));
    EXPECT_EQ(0xDE0A, answer({flag("check-staples")}));
    // Without a limit of its own, any size and any angle is one too many.
    EXPECT_EQ(0xDE0A, answer({flag("check-corners")}));
    EXPECT_EQ(0xDE0A, answer({flag("check-skew")}));
    EXPECT_EQ(0, answer({flag("check-corners"), number("corner-size", 2)}));
    EXPECT_EQ(0, answer({flag("check-skew"), number("skew-limit", 1)}));
    // On the glass a sheet passes no sensor.
    EXPECT_EQ(0, answer({flag("check-staples"), word("source", "flatbed")}));
    pages = "{}";
    EXPECT_EQ(0, answer({flag("check-staples"), flag("check-corners"), flag("check-skew")}));
}

// Twenty in ten thousand, where a profile does not say how many.
TEST_F(driver_points, that_are_few_make_no_page_when_blank_ones_are_discarded)
{
    const auto answer = [&](int marks, int gray) {
        start(100, {word("mode", "gray"), flag("discard-blank")});
        const pix_ptr image(pixCreate(100, 100, 8));
        pixSetAllArbitrary(image.get(), 255);
        for (int i = 0; i < marks; ++i)
            pixSetPixel(image.get(), 3 * i, 50, static_cast<l_uint32>(gray));
        EXPECT_EQ(0, pixWrite(folder_.file("sheet.png").c_str(), image.get(), IFF_PNG));
        const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
        scanner device;
        return device.start();
    };
    EXPECT_EQ(0xDE07, answer(20, 199));
    EXPECT_EQ(0, answer(21, 199));
    EXPECT_EQ(0xDE07, answer(21, 200));
}

TEST_F(driver_points, have_their_tones_by_brightness_contrast_and_light_limit)
{
    const struct {
        std::vector<json> options;
        std::vector<std::pair<int, int>> tones;
    } cases[] = {
        {{}, {{0, 0}, {1, 1}, {127, 127}, {128, 128}, {254, 254}, {255, 255}}},
        {{number("brightness", 40)}, {{0, 51}, {100, 151}, {203, 254}, {204, 255}, {255, 255}}},
        {{number("brightness", -40)}, {{0, 0}, {51, 0}, {52, 1}, {255, 204}}},
        {{number("contrast", 60)}, {{76, 0}, {77, 1}, {100, 59}, {130, 134}, {178, 254}, {179, 255}}},
        {{number("contrast", -40)}, {{0, 51}, {100, 111}, {255, 204}}},
        {{number("contrast", 100)}, {{126, 0}, {129, 255}}},
        {{number("contrast", 98)}, {{126, 53}, {129, 203}}},
        {{flag("show-through")}, {{160, 160}, {161, 163}, {170, 190}, {191, 252}, {192, 255}, {255, 255}}},
        {{flag("show-through"), word("show-through-level", "weak")}, {{192, 192}, {202, 212}, {223, 253}, {224, 255}}},
        {{flag("show-through"), word("show-through-level", "strong")},
         {{128, 128}, {138, 168}, {159, 251}, {160, 255}}},
        {{flag("invert")}, {{0, 255}, {1, 254}, {100, 155}, {255, 0}}},
    };
    for (const auto &each : cases) {
        std::vector<json> options = each.options;
        options.push_back(word("mode", "gray"));
        SCOPED_TRACE(json(options).dump());
        start(256, options);
        const scanned_page page = page_of(256, [](int x, int) { return x; });
        for (const auto &[before, after] : each.tones)
            EXPECT_EQ(after, page.gray(before, 100)) << before;
    }
}

TEST_F(driver_points, are_grey_by_one_colour_or_by_all)
{
    for (const auto &[channel, gray] : {std::pair("red", 200), std::pair("green", 100), std::pair("blue", 50),
                                        std::pair("luminance", 124)}) { // 0.299, 0.587 and 0.114 of them
        start(100, {word("mode", "gray"), word("channel", channel)});
        EXPECT_EQ(gray, page_of_colors(100, [](int, int) { return std::array{200, 100, 50}; }).gray(50, 50)) << channel;
    }
    start(100, {word("mode", "color"), flag("invert")});
    EXPECT_EQ((std::vector<int>{55, 155, 205}),
              page_of_colors(100, [](int, int) { return std::array{200, 100, 50}; }).color(50, 50));
}

TEST_F(driver_points, have_specks_of_three_taken_out_when_nothing_else_is_said)
{
    start(100, {word("mode", "lineart"), flag("despeckle")});
    const auto is_dark = [](int x, int y) {
        const bool is_three_wide = x >= 10 && x < 13 && y >= 10 && y < 13;
        const bool is_four_wide = x >= 20 && x < 24 && y >= 20 && y < 22;
        const bool is_oblique = x >= 40 && x < 44 && y == x; // hangs together over corners
        const bool has_a_hole = x >= 60 && x < 80 && y >= 60 && y < 80 && (x != 70 || y != 70);
        return is_three_wide || is_four_wide || is_oblique || has_a_hole;
    };
    const scanned_page page = page_of(100, [&](int x, int y) { return is_dark(x, y) ? 0 : 255; });
    EXPECT_EQ((std::vector<int>{}), black_in_row(page, 11));
    EXPECT_EQ((std::vector<int>{20, 21, 22, 23}), black_in_row(page, 20));
    EXPECT_EQ((std::vector<int>{42}), black_in_row(page, 42));
    EXPECT_FALSE(page.black(70, 70));
    EXPECT_TRUE(page.black(69, 70));
}

} // namespace driver_test
