// SPDX-License-Identifier: MIT
// The built-in document point by point. Its lines, bars and steps are where the drawing's millimetres say; the
// outlines of its texts are a record of the present drawing, to be changed together with it.
#include "driver_fixture.h"
#include "worn_scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace driver_test {

// A sheet of two fifths of A4 at 508 dpi: eight points for each millimetre that the drawing has on A4.
class driver_document : public worn_sheets {
protected:
    void SetUp() override
    {
        start_profile(json::parse(R"({
            "device": {"name": "test:document", "vendor": "V", "model": "M", "type": "sheetfed scanner"},
            "papers": {"Small": {"width": 84, "height": 118.8}}, "information": {}, "options": [
            {"name": "paper", "type": "string", "title": 1, "desc": 2, "range": ["Small"], "default": "Small",
             "means": "paper"},
            {"name": "mode", "type": "string", "title": 1, "desc": 2, "range": ["gray"], "default": "gray", "means": "mode"},
            {"name": "page", "type": "string", "title": 1, "desc": 2, "range": ["both"], "default": "both",
             "means": "sides"},
            {"name": "resolution", "type": "int", "title": 1, "desc": 2, "range": [508], "default": 508,
             "means": "resolution"}]})"));
    }

    static std::vector<scanned_page> sides(std::size_t count)
    {
        scanner device;
        std::vector<scanned_page> pages;
        while (pages.size() < count)
            pages.push_back(device.scan());
        return pages;
    }
};

namespace {

// Points of one grey, from the first to the one behind the last.
using run = std::array<int, 3>; // begin, end, grey

template <typename Gray> std::vector<run> runs(int begin, int end, Gray gray)
{
    std::vector<run> found;
    for (int i = begin; i < end; ++i) {
        if (found.empty() || found.back()[2] != gray(i))
            found.push_back({i, i, gray(i)});
        found.back()[1] = i + 1;
    }
    return found;
}

std::vector<run> along_row(const scanned_page &page, int y, int begin, int end)
{
    return runs(begin, end, [&](int x) { return page.gray(x, y); });
}

std::vector<run> along_column(const scanned_page &page, int x, int begin, int end)
{
    return runs(begin, end, [&](int y) { return page.gray(x, y); });
}

// White with black lines that begin at the places given.
std::vector<run> lines_on_white(int begin, int end, const std::vector<int> &places, int width)
{
    std::vector<run> expected;
    for (const int place : places) {
        if (place > begin)
            expected.push_back({begin, place, 255});
        begin = place + width;
        expected.push_back({place, begin, 0});
    }
    expected.push_back({begin, end, 255});
    return expected;
}

struct place {
    int left, top, right, bottom; // the points at the right and at the bottom belong to it
};

// Where the black points within a part of a page are.
place ink_within(const scanned_page &page, const place &part)
{
    place ink{part.right + 1, part.bottom + 1, part.left - 1, part.top - 1};
    for (int y = part.top; y <= part.bottom; ++y) {
        for (int x = part.left; x <= part.right; ++x) {
            if (page.gray(x, y) == 255)
                continue;
            ink = {std::min(ink.left, x), std::min(ink.top, y), std::max(ink.right, x), std::max(ink.bottom, y)};
        }
    }
    return ink;
}

} // namespace

TEST_F(driver_document, has_a_frame_and_tells_which_way_up_it_is)
{
    const scanned_page page = sides(1).at(0);
    ASSERT_EQ(1680, page.parameters.pixels_per_line);
    ASSERT_EQ(2376, page.parameters.lines);
    using rows = std::vector<run>;
    // The frame is 6 mm from each edge and half a millimetre wide; the bar is 3 mm high.
    EXPECT_EQ((rows{{0, 1680, 255}}), along_row(page, 47, 0, 1680));
    EXPECT_EQ((rows{{0, 48, 255}, {48, 1632, 0}, {1632, 1680, 255}}), along_row(page, 48, 0, 1680));
    EXPECT_EQ((rows{{0, 48, 255}, {48, 1632, 0}, {1632, 1680, 255}}), along_row(page, 71, 0, 1680));
    EXPECT_EQ((rows{{0, 48, 255}, {48, 52, 0}, {52, 1628, 255}, {1628, 1632, 0}, {1632, 1680, 255}}),
              along_row(page, 72, 0, 1680));
    EXPECT_EQ((rows{{0, 48, 255}, {48, 1632, 0}, {1632, 1680, 255}}), along_row(page, 2327, 0, 1680));
    EXPECT_EQ((rows{{0, 48, 255}, {48, 72, 0}, {72, 2324, 255}, {2324, 2328, 0}, {2328, 2376, 255}}),
              along_column(page, 60, 0, 2376));
    // The square of 12 mm, 10 mm from the left and 13 mm from the top.
    EXPECT_EQ((rows{{72, 104, 255}, {104, 200, 0}, {200, 280, 255}}), along_column(page, 80, 72, 280));
    EXPECT_EQ((rows{{52, 80, 255}, {80, 176, 0}, {176, 210, 255}}), along_row(page, 199, 52, 210));
}

TEST_F(driver_document, has_its_steps_and_bars_in_boxes)
{
    const scanned_page page = sides(1).at(0);
    using rows = std::vector<run>;
    rows ramp{{60, 120, 255}};
    for (int step = 0; step < 16; ++step)
        ramp.push_back({120 + 90 * step, 210 + 90 * step, 17 * step});
    ramp.back()[1] = 1558; // the white step ends at the line around all
    ramp.push_back({1558, 1560, 0});
    ramp.push_back({1560, 1620, 255});
    EXPECT_EQ(ramp, along_row(page, 1000, 60, 1620));
    EXPECT_EQ((rows{{870, 888, 255}, {888, 890, 0}, {890, 1078, 238}, {1078, 1080, 0}, {1080, 1110, 255}}),
              along_column(page, 1400, 870, 1110));

    const int grays[] = {255, 226, 179, 150, 105, 76, 29, 0}; // luminance of the eight colours
    const rows found = along_row(page, 1300, 60, 1620);
    ASSERT_EQ(11U, found.size());
    EXPECT_EQ((run{120, 122, 0}), found[1]);
    for (std::size_t bar = 0; bar < 8; ++bar) {
        EXPECT_EQ(bar == 0 ? 122 : 120 + 180 * static_cast<int>(bar), found[bar + 2][0]) << bar;
        EXPECT_NEAR(grays[bar], found[bar + 2][2], 1) << bar;
    }
    EXPECT_EQ((run{1560, 1620, 255}), found[10]);
    EXPECT_EQ((rows{{1185, 1192, 255}, {1192, 1194, 0}, {1194, 1430, 255}, {1430, 1432, 0}, {1432, 1450, 255}}),
              along_column(page, 200, 1185, 1450));
}

TEST_F(driver_document, has_seven_lines_of_each_width)
{
    const scanned_page page = sides(1).at(0);
    // From 1 mm down to an eighth, 25 mm apart, each line followed by as much white.
    for (int group = 0; group < 4; ++group) {
        const int left = 120 + 200 * group;
        const int width = 8 >> group;
        std::vector<int> across;
        std::vector<int> down;
        for (int line = 0; line < 7; ++line) {
            across.push_back(left + 2 * width * line);
            down.push_back(1792 + 2 * width * line);
        }
        SCOPED_TRACE(group);
        for (const int y : {1608, 1751})
            EXPECT_EQ(lines_on_white(left - 20, left + 170, across, width), along_row(page, y, left - 20, left + 170));
        for (const int x : {left, left + 143})
            EXPECT_EQ(lines_on_white(1760, 1910, down, width), along_column(page, x, 1760, 1910));
        for (const int y : {1607, 1752})
            EXPECT_EQ((std::vector<run>{{left - 20, left + 170, 255}}), along_row(page, y, left - 20, left + 170));
        for (const int x : {left - 1, left + 144})
            EXPECT_EQ((std::vector<run>{{1760, 1910, 255}}), along_column(page, x, 1760, 1910));
    }
}

TEST_F(driver_document, has_a_star_of_72_wedges)
{
    const scanned_page page = sides(1).at(0);
    // 36 mm around a point 158 mm from the left and 222 mm from the top; at its ends dark wedges begin.
    const place star = ink_within(page, {940, 1470, 1600, 2080});
    EXPECT_NEAR(976, star.left, 1);
    EXPECT_NEAR(1488, star.top, 1);
    EXPECT_EQ(1552, star.right);
    EXPECT_EQ(2064, star.bottom);
    for (int wedge = 0; wedge < 72; ++wedge) { // clockwise from the right
        const double turn = (wedge + 0.5) * 3.14159265358979323846 / 36;
        const int x = static_cast<int>(std::lround(1264 + 250 * std::cos(turn)));
        const int y = static_cast<int>(std::lround(1776 + 250 * std::sin(turn)));
        EXPECT_EQ(wedge % 2 == 0 ? 0 : 255, page.gray(x, y)) << wedge;
    }
}

struct text_case {
    std::size_t side;
    place part;
    place ink;
};

TEST_F(driver_document, has_its_texts_where_they_were)
{
    const text_case cases[] = {
        {0, {180, 76, 1620, 225}, {226, 115, 1267, 193}},    // the name
        {0, {60, 260, 1150, 590}, {126, 319, 755, 512}},     // "Front"
        {1, {60, 260, 1150, 590}, {126, 313, 665, 512}},     // "Back"
        {0, {60, 591, 1150, 800}, {123, 597, 547, 702}},     // "Sheet 1"
        {2, {60, 591, 1150, 800}, {123, 597, 561, 702}},     // "Sheet 2"
        {0, {1151, 200, 1600, 820}, {1210, 270, 1404, 645}}, // page 1
        {1, {1151, 200, 1600, 820}, {1211, 276, 1455, 645}}, // page 2
        {2, {1151, 200, 1600, 820}, {1214, 270, 1455, 657}}, // page 3
        {0, {60, 821, 1600, 887}, {121, 834, 530, 873}},     // above the steps
        {0, {60, 1100, 1600, 1191}, {121, 1137, 319, 1166}}, // above the bars
        {0, {60, 1440, 900, 1540}, {121, 1489, 360, 1518}},  // above the lines
        {0, {60, 1541, 300, 1606}, {121, 1554, 207, 1579}},  // above each group of them
        {0, {301, 1541, 500, 1606}, {321, 1553, 368, 1583}},
        {0, {501, 1541, 700, 1606}, {521, 1553, 568, 1583}},
        {0, {701, 1541, 900, 1606}, {721, 1553, 767, 1583}},
        {0, {60, 2100, 1600, 2300}, {121, 2145, 1114, 2185}}, // the last line
    };
    const auto pages = sides(3);
    for (const text_case &each : cases) {
        const place ink = ink_within(pages.at(each.side), each.part);
        SCOPED_TRACE(each.part.top);
        EXPECT_NEAR(each.ink.left, ink.left, 1);
        EXPECT_NEAR(each.ink.top, ink.top, 1);
        EXPECT_NEAR(each.ink.right, ink.right, 1);
        EXPECT_NEAR(each.ink.bottom, ink.bottom, 1);
    }
}

} // namespace driver_test
