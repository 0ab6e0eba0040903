// SPDX-License-Identifier: MIT
// The options that mend pages, by pages measured before and after.
#include "driver_fixture.h"
#include "kx_scanner.h"
#include "worn_scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

namespace driver_test {

class driver_mending : public worn_sheets {
protected:
    // A white or tinted sheet of which the test draws what it is about; 827 x 1169 points are an A4 sheet at 100 dpi.
    template <typename Draw> void feed(l_uint32 background, Draw draw)
    {
        const pix_ptr image(pixCreate(827, 1169, 8));
        pixSetAllArbitrary(image.get(), background);
        draw(image.get());
        pixSetResolution(image.get(), 100, 100);
        ASSERT_EQ(0, pixWrite(folder_.file("sheet.png").c_str(), image.get(), IFF_PNG));
        feed_ = std::make_unique<environment_variable>("PELVIRTUAL_FEED", folder_.file("").c_str());
    }

    static void box(Pix *image, int x, int y, int width, int height, l_uint32 gray)
    {
        Box *where = boxCreate(x, y, width, height);
        pixSetInRectArbitrary(image, where, gray);
        boxDestroy(&where);
    }

    static scanned_page first_page(scanner &device)
    {
        device.stop();
        return device.scan();
    }

    static void oval(Pix *image, double x, double y, double width, double height, l_uint32 gray)
    {
        for (int row = 0; row < pixGetHeight(image); ++row)
            for (int column = 0; column < pixGetWidth(image); ++column)
                if (std::hypot((column - x) * 2 / width, (row - y) * 2 / height) <= 1)
                    pixSetPixel(image, column, row, gray);
    }

private:
    std::unique_ptr<environment_variable> feed_;
};

long black_points(const scanned_page &page)
{
    long count = 0;
    for (int y = 0; y < page.parameters.lines; ++y)
        for (int x = 0; x < page.parameters.pixels_per_line; ++x)
            count += page.black(x, y) ? 1 : 0;
    return count;
}

TEST_F(driver_mending, straightens_skew_pages)
{
    start_with(R"({"seed": 7, "skew_degrees": 4})");
    scanner device;
    scan_plainly(device);
    const auto before = device.scan_all();
    device.set("is-anti-skew", true);
    const auto after = device.scan_all();
    EXPECT_GT(std::abs(skew_of(before.at(1))), 1.0);
    for (const scanned_page &page : after)
        EXPECT_LT(std::abs(skew_of(page)), 0.2);
}

TEST_F(driver_mending, leaves_straight_pages_as_they_are)
{
    start_with("{}");
    scanner device;
    scan_plainly(device);
    const auto before = device.scan_all();
    device.set("is-anti-skew", true);
    device.set("is-erase-black-frame", true);
    const auto after = device.scan_all();
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(before.at(i).data, after.at(i).data) << i;
}

TEST_F(driver_mending, erases_the_frame_around_a_skew_sheet)
{
    start_with(R"({"seed": 7, "skew_degrees": 4})");
    scanner device;
    scan_plainly(device);
    const auto before = device.scan_all();
    device.set("is-erase-black-frame", true);
    const auto after = device.scan_all();
    EXPECT_GT(points_darker_than(before.at(1), 64) - points_darker_than(after.at(1), 64), 10000);
    for (int x = 0; x < 827; ++x)
        EXPECT_EQ(255, after.at(1).gray(x, 0)) << x;
}

TEST_F(driver_mending, erases_notches_by_the_concave_shape_alone)
{
    start_with("{}");
    // A dark picture that reaches the edge between 40 and 60 mm.
    feed(255, [](Pix *image) { box(image, 0, 400, 200, 79, 10); });
    scanner device;
    scan_plainly(device);
    device.set("is-erase-black-frame", true);
    device.set("bkg-fill-mode", "Convex");
    EXPECT_EQ(10, first_page(device).gray(100, 440));
    device.set("bkg-fill-mode", "Concave");
    EXPECT_EQ(255, first_page(device).gray(100, 440));
}

TEST_F(driver_mending, fills_punch_holes)
{
    start_with(R"({"holes": {"count": 2, "side": "right"}})");
    scanner device;
    scan_plainly(device);
    const scanned_page before = first_page(device);
    device.set("is-rid-hole", true);
    const scanned_page after = first_page(device);
    for (const int y : {427, 742}) {
        EXPECT_EQ(32, before.gray(779, y));
        for (const int offset : {-12, 0, 12}) {
            EXPECT_EQ(255, after.gray(779 + offset, y)) << offset;
            EXPECT_EQ(255, after.gray(779, y + offset)) << offset;
        }
    }
    // The square of 12 mm, which is no hole.
    EXPECT_EQ(0, after.gray(63, 75));
}

// Round is not enough: no punch makes holes of 3 or 10 mm, or longer than wide.
TEST_F(driver_mending, leaves_marks_that_no_punch_makes)
{
    start_with("{}");
    constexpr double mm = 100 / 25.4;
    feed(255, [](Pix *image) {
        oval(image, 780, 200, 6 * mm, 6 * mm, 0);
        oval(image, 780, 400, 3 * mm, 3 * mm, 0);
        oval(image, 780, 600, 10 * mm, 10 * mm, 0);
        oval(image, 780, 800, 5 * mm, 8 * mm, 0);
        oval(image, 780, 1000, 8 * mm, 5 * mm, 0);
    });
    scanner device;
    scan_plainly(device);
    device.set("is-rid-hole", true);
    const scanned_page page = first_page(device);
    EXPECT_EQ(255, page.gray(780, 200));
    for (const int y : {400, 600, 800, 1000})
        EXPECT_EQ(0, page.gray(780, y)) << y;
}

TEST_F(driver_mending, looks_for_holes_near_the_edges_alone)
{
    start_with(R"({"holes": {"count": 2, "side": "right"}})");
    scanner device;
    scan_plainly(device);
    device.set("is-rid-hole", true);
    device.set("search-hole-range-r", 4); // 8.4 of 210 mm
    EXPECT_EQ(32, first_page(device).gray(779, 427));
    device.set("search-hole-range-r", 6);
    EXPECT_EQ(255, first_page(device).gray(779, 427));
}

// A tenth of the width or height is 82.7 or 116.9 points, where a profile does not say how far.
TEST_F(driver_mending, looks_for_holes_within_a_tenth_of_each_edge_when_nothing_is_said)
{
    json profile = json::parse(content_of(DUPLEX_PROFILE));
    for (json &option : profile["options"])
        if (option.value("means", "").rfind("hole-range", 0) == 0)
            option.erase("means");
    profile["pages"] = json::object();
    start_profile(profile);
    // Each is 24 points wide; its middle is half a point further than what is said here.
    const std::pair<double, double> filled[] = {{82, 300}, {744, 300}, {300, 116}, {300, 1052}};
    const std::pair<double, double> left[] = {{82.5, 600}, {743.5, 600}, {500, 116.5}, {500, 1051.5}};
    feed(255, [&](Pix *image) {
        for (const auto &[x, y] : filled)
            oval(image, x, y, 24, 24, 0);
        for (const auto &[x, y] : left)
            oval(image, x, y, 24, 24, 0);
    });
    scanner device;
    scan_plainly(device);
    device.set("is-rid-hole", true);
    const scanned_page page = first_page(device);
    for (const auto &[x, y] : filled)
        EXPECT_EQ(255, page.gray(static_cast<int>(x), static_cast<int>(y))) << x << " " << y;
    for (const auto &[x, y] : left)
        EXPECT_EQ(0, page.gray(static_cast<int>(x), static_cast<int>(y))) << x << " " << y;
}

TEST_F(driver_mending, fills_holes_of_four_to_nine_millimetres_and_their_rims_alone)
{
    start_with("{}");
    constexpr double mm = 100 / 25.4;
    feed(255, [](Pix *image) {
        oval(image, 780.5, 200.5, 15, 16, 0); // 15 points are 3.8 mm, 16 points 4.1 mm
        oval(image, 780.5, 300.5, 16, 16, 0);
        oval(image, 780, 400, 35, 35, 0);     // 8.9 mm
        oval(image, 779.5, 500.5, 36, 36, 0); // 9.1 mm
        oval(image, 400.5, 30.5, 24, 28, 0);  // 15 % of 7.1 mm are 1.07 mm: 1.02 mm longer than wide
        oval(image, 500, 30.5, 23, 28, 0);    // 1.27 mm longer
        oval(image, 780, 700, 6 * mm, 6 * mm, 0);
        for (const int distance : {3, 4}) { // lines within the rim of half a millimetre, and beyond it
            box(image, 780, 700 - static_cast<int>(distance * mm + 1), 1, 1, 0);
            box(image, 780, 700 + static_cast<int>(distance * mm + 1), 1, 1, 0);
        }
    });
    scanner device;
    scan_plainly(device);
    device.set("is-rid-hole", true);
    const scanned_page page = first_page(device);
    EXPECT_EQ(0, page.gray(780, 200));
    EXPECT_EQ(255, page.gray(780, 300));
    EXPECT_EQ(255, page.gray(780, 400));
    EXPECT_EQ(0, page.gray(780, 500));
    EXPECT_EQ(255, page.gray(400, 30));
    EXPECT_EQ(0, page.gray(500, 30));
    for (const int y : {700, 700 - 12, 700 + 12})
        EXPECT_EQ(255, page.gray(780, y)) << y;
    for (const int y : {700 - 16, 700 + 16})
        EXPECT_EQ(0, page.gray(780, y)) << y;
}

TEST_F(driver_mending, fills_holes_with_the_colour_around_them)
{
    start_with(R"({"background": "#f4ecd0", "holes": {"count": 2, "side": "right"}})");
    scanner device;
    scan_plainly(device);
    device.set("mode", "Color");
    device.set("is-rid-hole", true);
    device.set("is-erase-black-frame", true);
    EXPECT_EQ((std::vector<int>{255, 255, 255}), first_page(device).color(779, 427));
    device.set("bkg-fill-mode", "Concave");
    device.set("is-fill-color", true);
    EXPECT_EQ((std::vector<int>{0xf4, 0xec, 0xd0}), first_page(device).color(779, 427));
}

TEST_F(driver_mending, turns_a_light_background_white)
{
    start_with(R"({"background": "#f4ecd0"})"); // 7.8 % darker than white
    scanner device;
    scan_plainly(device);
    device.set("mode", "Color");
    device.set("is-erase-bkg", true);
    device.set("bkg-color-range", 3);
    EXPECT_EQ((std::vector<int>{0xf4, 0xec, 0xd0}), first_page(device).color(30, 220));
    device.set("bkg-color-range", 4);
    const scanned_page page = first_page(device);
    EXPECT_EQ((std::vector<int>{255, 255, 255}), page.color(30, 220));
    // The red and the blue bar.
    EXPECT_EQ((std::vector<int>{255, 0, 0}), page.color(546, 646));
    EXPECT_EQ((std::vector<int>{0, 0, 255}), page.color(635, 646));
}

TEST_F(driver_mending, takes_the_tint_of_the_paper_away)
{
    start_with(R"({"background": "#f4ecd0"})");
    scanner device;
    scan_plainly(device);
    device.set("mode", "Color");
    device.set("color-correction", true);
    for (const int part : first_page(device).color(30, 220))
        EXPECT_NEAR(0xf4, part, 1);
}

TEST_F(driver_mending, removes_what_shines_through)
{
    start_with(R"({"shine_through": 0.25, "blank_backs": 1})");
    scanner device;
    scan_plainly(device);
    device.set("page", "Both sides");
    const auto back_point = [&] {
        device.stop();
        device.scan();
        return device.scan().gray(763, 75); // behind the square of the front
    };
    EXPECT_NEAR(191, back_point(), 1);
    device.set("is-anti-permeate", true);
    device.set("permeate-level", "Weak");
    EXPECT_NEAR(191, back_point(), 1);
    device.set("permeate-level", "Medium");
    EXPECT_GE(back_point(), 250);
    device.set("permeate-level", "Strong");
    EXPECT_EQ(255, back_point());
    EXPECT_EQ(0, first_page(device).gray(63, 75));
}

TEST_F(driver_mending, discards_a_blank_back_whose_holes_were_filled)
{
    start_with(R"({"blank_backs": 1, "holes": {"count": 8}})"); // 0.36 % of the page
    scanner device;
    scan_plainly(device);
    device.set("page", "Both sides");
    device.set("discardblank", true);
    EXPECT_EQ(6U, device.scan_all().size());
    device.set("is-rid-hole", true);
    EXPECT_EQ(3U, device.scan_all().size());
}

TEST_F(driver_mending, sharpens_and_softens_edges)
{
    start_with("{}");
    feed(200, [](Pix *image) { box(image, 0, 0, 400, 1169, 100); });
    scanner device;
    scan_plainly(device);
    const auto dark_and_light = [&](const char *sharpen) {
        device.set("sharpen", sharpen);
        const scanned_page page = first_page(device);
        return std::pair(page.gray(399, 600), page.gray(400, 600));
    };
    EXPECT_EQ(std::pair(100, 200), dark_and_light("None"));
    const auto sharpened = dark_and_light("Sharpen");
    EXPECT_LT(sharpened.first, 95);
    EXPECT_GT(sharpened.second, 205);
    const auto more = dark_and_light("Sharpen more");
    EXPECT_LT(more.first, sharpened.first);
    EXPECT_GT(more.second, sharpened.second);
    const auto softened = dark_and_light("Soften");
    EXPECT_NEAR(133, softened.first, 2);
    EXPECT_NEAR(167, softened.second, 2);
}

TEST_F(driver_mending, removes_a_printed_screen)
{
    start_with("{}");
    // Dots of one point, every fourth point each way.
    feed(255, [](Pix *image) {
        for (int y = 0; y < 1169; y += 4)
            for (int x = 0; x < 827; x += 4)
                pixSetPixel(image, x, y, 0);
    });
    scanner device;
    scan_plainly(device);
    const long dots = points_darker_than(first_page(device), 64);
    EXPECT_EQ(293L * 207, dots);
    device.set("is-rid-grid", true);
    EXPECT_EQ(0, points_darker_than(first_page(device), 64));
}

TEST_F(driver_mending, smooths_the_pattern_that_a_screen_leaves)
{
    start_with("{}");
    feed(255, [](Pix *image) {
        for (int x = 0; x < 827; x += 2)
            box(image, x, 0, 1, 1169, 100);
    });
    scanner device;
    scan_plainly(device);
    device.set("resolution", 200);
    const auto spread = [&] {
        const scanned_page page = first_page(device);
        const auto [least, most] = std::minmax_element(page.at(800, 1000), page.at(820, 1000));
        return *most - *least;
    };
    const int before = spread();
    device.set("is-rid-morr", true);
    EXPECT_GT(before, 100);
    EXPECT_LT(spread(), before / 2);
}

TEST_F(driver_mending, removes_specks_of_the_size_that_is_set)
{
    start_with("{}");
    feed(255, [](Pix *image) {
        box(image, 100, 100, 2, 2, 0);
        box(image, 200, 200, 4, 4, 0);
        box(image, 300, 300, 40, 40, 0);
        box(image, 310, 310, 2, 2, 255);
    });
    scanner device;
    scan_plainly(device);
    device.set("mode", "Lineart");
    EXPECT_EQ(4 + 16 + 1600 - 4, black_points(first_page(device)));
    device.set("is-noise-optimize", true);
    device.set("noise-size", 3);
    EXPECT_EQ(16 + 1600 - 4, black_points(first_page(device)));
    device.set("noise-size", 4);
    EXPECT_EQ(1600 - 4, black_points(first_page(device)));
    device.set("anti-noise-level", 11);
    EXPECT_EQ(1600, black_points(first_page(device)));
}

TEST_F(driver_mending, renders_grey_by_error_diffusion)
{
    start_with("{}");
    feed(192, [](Pix *) {});
    scanner device;
    scan_plainly(device);
    device.set("mode", "Lineart");
    EXPECT_EQ(0, black_points(first_page(device)));
    device.set("is-err-extension", true);
    const double share = static_cast<double>(black_points(first_page(device))) / (827.0 * 1169);
    EXPECT_NEAR(0.25, share, 0.03);
}

TEST_F(driver_mending, finds_the_threshold_by_itself)
{
    json profile = json::parse(content_of(DUPLEX_PROFILE));
    profile["options"].push_back(json::parse(R"({"name": "threshold-mode", "type": "string", "title": 1, "desc": 2,
        "size": 64, "range": ["fixed", "otsu", "adaptive"], "default": "fixed", "means": "binarization"})"));
    start_profile(profile);
    // Print of 60 on a ground of 100, and beside it print of 150 on a ground of 230.
    feed(100, [](Pix *image) {
        box(image, 400, 0, 427, 1169, 230);
        for (int y = 50; y < 1100; y += 20) {
            box(image, 50, y, 300, 5, 40);
            box(image, 450, y, 300, 5, 150);
        }
    });
    scanner device;
    scan_plainly(device);
    device.set("mode", "Lineart");
    const auto is_black = [&](const char *method) {
        device.set("threshold-mode", method);
        const scanned_page page = first_page(device);
        // Left ground and print, right ground and print.
        return std::vector<bool>{page.black(200, 500), page.black(200, 512), page.black(600, 500),
                                 page.black(600, 512)};
    };
    EXPECT_EQ((std::vector<bool>{true, true, false, false}), is_black("fixed"));
    EXPECT_EQ((std::vector<bool>{false, true, false, true}), is_black("adaptive"));
    device.set("threshold", 20);
    EXPECT_EQ((std::vector<bool>{false, false, false, false}), is_black("fixed"));
    const auto otsu = is_black("otsu");
    EXPECT_TRUE(otsu[0] && otsu[1]);
    EXPECT_FALSE(otsu[2]);
}

TEST_F(driver_mending, stops_sheets_with_folded_corners)
{
    start_with(R"({"dog_ear": {"size_mm": 20, "every": 2}})");
    scanner device;
    scan_plainly(device);
    EXPECT_EQ(3U, device.scan_all().size());
    device.set("is-check-dog-ear", true);
    device.set("dog-ear-size", 21);
    EXPECT_EQ(3U, device.scan_all().size());
    device.set("dog-ear-size", 20);
    device.set("page", "Both sides");
    int info[12];
    for (const int sheet : {1, 1, 0, 3, 3}) {
        EXPECT_EQ(sheet != 0 ? 0 : 0xDE0A, device.start());
        if (sheet == 0)
            continue;
        ASSERT_EQ(0, kx_scanner_get_img_info(device.handle(), info, 48));
        EXPECT_EQ(sheet, info[7]);
        device.read();
    }
    EXPECT_EQ(0xDE07, device.start());
}

TEST_F(driver_mending, stops_sheets_that_lie_askew)
{
    start_with(R"({"seed": 7, "skew_degrees": 4})"); // the third sheet lies 3.4 degrees askew
    scanner device;
    scan_plainly(device);
    device.set("is-check-askew", true);
    device.set("askew-range", 4);
    EXPECT_EQ(3U, device.scan_all().size());
    device.set("askew-range", 3);
    device.scan();
    device.scan();
    EXPECT_EQ(0xDE0A, device.start());
}

TEST_F(driver_mending, stops_stapled_sheets)
{
    start_with(R"({"staples": 3})");
    scanner device;
    scan_plainly(device);
    device.set("is-staple", true);
    device.scan();
    device.scan();
    EXPECT_EQ(0xDE0A, device.start());
    EXPECT_EQ(0xDE07, device.start());
}

TEST_F(driver_mending, stops_a_sheet_with_both_of_its_files)
{
    feed(200, [](Pix *) {});
    for (const char *name : {"t1.png", "t2.png", "t3.png"})
        std::filesystem::copy_file(folder_.file("sheet.png"), folder_.file(name));
    start_with(R"({"staples": 2})");
    scanner device;
    scan_plainly(device);
    device.set("page", "Both sides");
    device.set("is-staple", true);
    device.scan();
    device.scan();
    EXPECT_EQ(0xDE0A, device.start());
    EXPECT_EQ(0xDE07, device.start());
}

} // namespace driver_test
