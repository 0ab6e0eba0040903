// SPDX-License-Identifier: MIT
// Sheets of one colour: what they look like in every mode, and that settings act on them as on any other.
#include "driver_fixture.h"
#include "kx_scanner.h"
#include "worn_scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace driver_test {

class driver_plain_sheet : public worn_sheets {
protected:
    void start_with_color(const char *color, const char *pages = nullptr)
    {
        json profile = json::parse(content_of(DUPLEX_PROFILE));
        profile["feeder"] = {{"source", {{"color", color}}}};
        if (pages != nullptr)
            profile["pages"] = json::parse(pages);
        start_profile(profile);
    }

    static bool is_all(const scanned_page &page, unsigned char value)
    {
        return std::all_of(page.data.begin(), page.data.end(), [&](unsigned char each) { return each == value; });
    }
};

TEST_F(driver_plain_sheet, shows_its_colour_everywhere)
{
    start_with_color("#2a80f0");
    scanner device;
    device.set("resolution", 100);
    const scanned_page page = device.scan();
    ASSERT_EQ(827U * 1169 * 3, page.data.size());
    for (int y = 0; y < 1169; ++y)
        for (int x = 0; x < 827; ++x)
            ASSERT_EQ((std::vector<int>{0x2a, 0x80, 0xf0}), page.color(x, y)) << x << " " << y;
}

TEST_F(driver_plain_sheet, is_delivered_alike_by_reads_of_any_size)
{
    start_with_color("#2a80f0");
    scanner device;
    device.set("resolution", 100);
    const scanned_page page = device.scan();
    for (const long at_once : {1000L, 65536L, 700001L, 4000000L}) {
        ASSERT_EQ(0, device.start());
        EXPECT_EQ(page.data, device.read(at_once).data) << at_once;
    }
}

TEST_F(driver_plain_sheet, becomes_grey_and_black_and_white)
{
    start_with_color("#ff0000"); // a luminance of 76
    scanner device;
    scan_plainly(device);
    EXPECT_TRUE(is_all(device.scan(), 76));
    device.set("filter", "Drop red");
    EXPECT_TRUE(is_all(device.scan(), 255));
    device.set("mode", "Lineart");
    device.set("filter", "All colours");
    device.stop();
    const scanned_page page = device.scan();
    for (int x = 0; x < 827; ++x)
        EXPECT_TRUE(page.black(x, 600)) << x;
    EXPECT_EQ(0xe0, page.data.at(103)); // 827 points are 103 bytes and three bits
    device.set("reverse-bw", true);
    EXPECT_TRUE(is_all(device.scan(), 0));
}

TEST_F(driver_plain_sheet, is_white_beyond_the_paper)
{
    start_with_color("#102030");
    scanner device;
    scan_plainly(device);
    device.set("mode", "Color");
    device.set_area(0, 0, 297, 420);
    const scanned_page page = device.scan();
    EXPECT_EQ((std::vector<int>{0x10, 0x20, 0x30}), page.color(826, 1168));
    EXPECT_EQ((std::vector<int>{255, 255, 255}), page.color(827, 1168));
    EXPECT_EQ((std::vector<int>{255, 255, 255}), page.color(826, 1169));
    // To one side alone.
    device.stop();
    device.set_area(0, 0, 297, 200);
    EXPECT_EQ((std::vector<int>{255, 255, 255}), device.scan().color(827, 100));
    device.stop();
    device.set_area(0, 0, 100, 420);
    EXPECT_EQ((std::vector<int>{255, 255, 255}), device.scan().color(100, 1169));
    // From the middle of the sheet on.
    device.stop();
    device.set_area(150, 200, 250, 290);
    EXPECT_EQ((std::vector<int>{255, 255, 255}), device.scan().color(300, 100));
    device.stop();
    device.set_area(100, 200, 200, 320);
    EXPECT_EQ((std::vector<int>{255, 255, 255}), device.scan().color(100, 450));
}

TEST_F(driver_plain_sheet, is_discarded_when_it_is_light)
{
    start_with_color("#d0d0d0");
    {
        scanner device;
        device.set("discardblank", true);
        EXPECT_EQ(0xDE07, device.start());
    }
    start_with_color("#c0c0c0");
    scanner device;
    device.set("discardblank", true);
    EXPECT_EQ(0, device.start());
}

TEST_F(driver_plain_sheet, takes_wear_and_mending_like_any_other)
{
    start_with_color("#d0c0ff", R"({"behind": 7, "holes": {"count": 2, "side": "left"}})");
    scanner device;
    scan_plainly(device);
    device.set("mode", "Color");
    const scanned_page worn = device.scan();
    EXPECT_EQ((std::vector<int>{7, 7, 7}), worn.color(47, 427));
    EXPECT_EQ((std::vector<int>{0xd0, 0xc0, 0xff}), worn.color(400, 600));
    device.set("is-erase-bkg", true);
    device.set("bkg-color-range", 20);
    EXPECT_EQ((std::vector<int>{255, 255, 255}), device.scan().color(400, 600));
}

// A metre at 1200 dpi has more points than an image may have, and six gigabytes.
TEST_F(driver_plain_sheet, may_have_any_size)
{
    start_profile(json::parse(R"({
        "device": {"name": "test:large", "vendor": "V", "model": "M", "type": "sheetfed scanner"},
        "feeder": {"source": {"color": "#102030"}},
        "papers": {"Huge": {"width": 1000, "height": 1000}}, "information": {}, "options": [
        {"name": "paper", "type": "string", "title": 1, "desc": 2, "range": ["Huge"], "default": "Huge", "means": "paper"},
        {"name": "resolution", "type": "int", "title": 1, "desc": 2, "range": [1200], "default": 1200,
         "means": "resolution"}]})"));
    scanner device;
    ASSERT_EQ(0, device.start());
    EXPECT_EQ(47244, device.parameters().lines);
    unsigned char point[3] = {};
    long length = 3;
    EXPECT_EQ(0, kx_scanner_read_img_data(device.handle(), point, &length));
    EXPECT_EQ(0x10, point[0]);
    EXPECT_EQ(0x30, point[2]);
}

TEST_F(driver_plain_sheet, has_its_two_sides)
{
    start_with_color("#808080");
    scanner device;
    scan_plainly(device);
    device.set("page", "Both sides");
    EXPECT_EQ(6U, device.scan_all().size());
}

} // namespace driver_test
