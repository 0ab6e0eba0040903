// SPDX-License-Identifier: MIT
// Pages of the virtual scanner: their sizes, their content by mode and settings, their order, and the feeder's end.
#include "driver_fixture.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace driver_test {

class driver_scanning : public driver_running {
protected:
    // Points on the built-in document at 100 dpi, which the tests scan at when nothing else matters.
    static constexpr int ramp_y = 484;                                       // 123 mm
    static constexpr int bars_y = 646;                                       // 164 mm
    static constexpr int ramp_x(int step) { return 81 + (step * 443) / 10; } // 20.6 mm and 11.25 mm a step
    static constexpr int bar_x(int bar) { return 103 + (bar * 886) / 10; }   // 26.25 mm and 22.5 mm a bar

    static void scan_simply(scanner &device, const char *mode)
    {
        device.set("mode", mode);
        device.set("resolution", 100);
        device.set("page", "Front side");
    }
};

struct size_case {
    double left, top, right, bottom;
    int resolution;
    int pixels, lines, gray_bytes, color_bytes, lineart_bytes;
};

TEST_F(driver_scanning, gives_the_size_that_area_and_resolution_say)
{
    const size_case cases[] = {
        {0, 0, 210, 297, 75, 620, 877, 620, 1860, 78},
        {0, 0, 210, 297, 100, 827, 1169, 827, 2481, 104},
        {0, 0, 210, 297, 150, 1240, 1754, 1240, 3720, 155},
        {0, 0, 210, 297, 200, 1654, 2339, 1654, 4962, 207},
        {0, 0, 210, 297, 300, 2480, 3508, 2480, 7440, 310},
        {10, 20, 110, 70, 75, 295, 148, 295, 885, 37},
        {10, 20, 110, 70, 300, 1181, 591, 1181, 3543, 148},
        {0, 0, 25.4, 25.4, 300, 300, 300, 300, 900, 38},
        {184.6, 271.6, 210, 297, 150, 150, 150, 150, 450, 19},
        {0, 0, 297, 420, 100, 1169, 1654, 1169, 3507, 147},
        {100, 100, 100, 100, 600, 1, 1, 1, 3, 1},
    };
    scanner device;
    device.set("page", "Front side");
    for (const size_case &each : cases) {
        for (const char *mode : {"Color", "Gray", "Lineart"}) {
            SCOPED_TRACE(std::string(mode) + " " + std::to_string(each.resolution) + " " + std::to_string(each.pixels));
            device.set("mode", mode);
            device.set("resolution", each.resolution);
            device.set_area(each.left, each.top, each.right, each.bottom);
            const bool color = *mode == 'C';
            const bool lineart = *mode == 'L';
            const SANE_Parameters expected = device.parameters();
            EXPECT_EQ(each.pixels, expected.pixels_per_line);
            EXPECT_EQ(each.lines, expected.lines);
            EXPECT_EQ(color     ? each.color_bytes
                      : lineart ? each.lineart_bytes
                                : each.gray_bytes,
                      expected.bytes_per_line);
            EXPECT_EQ(lineart ? 1 : 8, expected.depth);
            EXPECT_EQ(color ? SANE_FRAME_RGB : SANE_FRAME_GRAY, expected.format);
            EXPECT_EQ(SANE_TRUE, expected.last_frame);
            const scanned_page page = device.scan();
            EXPECT_EQ(0, std::memcmp(&expected, &page.parameters, sizeof expected));
            device.stop();
        }
    }
}

TEST_F(driver_scanning, delivers_a_600_dpi_page)
{
    scanner device;
    device.set("resolution", 600);
    ASSERT_EQ(0, device.start());
    const scanned_page page = device.read(1 << 20);
    EXPECT_EQ(4961, page.parameters.pixels_per_line);
    EXPECT_EQ(7016, page.parameters.lines);
    EXPECT_EQ(14883, page.parameters.bytes_per_line);
}

TEST_F(driver_scanning, shows_a_ramp_of_sixteen_greys)
{
    scanner device;
    scan_simply(device, "Gray");
    const scanned_page page = device.scan();
    const int expected[] = {0, 17, 34, 51, 68, 85, 102, 119, 136, 153, 170, 187, 204, 221, 238, 255};
    for (int step = 0; step < 16; ++step)
        EXPECT_EQ(expected[step], page.gray(ramp_x(step), ramp_y)) << step;
}

TEST_F(driver_scanning, shows_eight_colour_bars)
{
    scanner device;
    scan_simply(device, "Color");
    const scanned_page page = device.scan();
    const std::vector<int> expected[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                                         {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
    for (int bar = 0; bar < 8; ++bar)
        EXPECT_EQ(expected[bar], page.color(bar_x(bar), bars_y)) << bar;
}

TEST_F(driver_scanning, turns_colours_into_their_luminance)
{
    scanner device;
    scan_simply(device, "Gray");
    const scanned_page page = device.scan();
    const int expected[] = {255, 226, 179, 150, 105, 76, 29, 0};
    for (int bar = 0; bar < 8; ++bar)
        EXPECT_NEAR(expected[bar], page.gray(bar_x(bar), bars_y), 1) << bar;
}

TEST_F(driver_scanning, takes_one_colour_channel_when_a_colour_is_dropped)
{
    scanner device;
    scan_simply(device, "Gray");
    device.set("filter", "Drop red");
    const scanned_page page = device.scan();
    const int expected[] = {255, 255, 0, 0, 255, 255, 0, 0};
    for (int bar = 0; bar < 8; ++bar)
        EXPECT_EQ(expected[bar], page.gray(bar_x(bar), bars_y)) << bar;
}

TEST_F(driver_scanning, makes_points_below_the_threshold_black)
{
    scanner device;
    scan_simply(device, "Lineart");
    scanned_page page = device.scan();
    for (int step = 0; step < 16; ++step)
        EXPECT_EQ(step < 8, page.black(ramp_x(step), ramp_y)) << step;
    device.set("threshold", 52);
    page = device.scan();
    for (int step = 0; step < 16; ++step)
        EXPECT_EQ(step < 4, page.black(ramp_x(step), ramp_y)) << step;
}

TEST_F(driver_scanning, inverts_black_and_white_without_its_spare_bits)
{
    scanner device;
    scan_simply(device, "Lineart");
    device.set("reverse-bw", true);
    const scanned_page page = device.scan();
    EXPECT_FALSE(page.black(ramp_x(0), ramp_y));
    EXPECT_TRUE(page.black(ramp_x(15), ramp_y));
    EXPECT_EQ(104, page.parameters.bytes_per_line); // 827 points and five spare bits
    EXPECT_EQ(0xE0, page.data[103]);
}

TEST_F(driver_scanning, applies_brightness_contrast_and_gamma)
{
    scanner device;
    scan_simply(device, "Gray");
    device.set("brightness", 20);
    EXPECT_EQ(128, device.scan().gray(ramp_x(6), ramp_y)); // 102 + 25.5
    device.set("brightness", 0);
    device.set("contrast", 50);
    EXPECT_EQ(77, device.scan().gray(ramp_x(6), ramp_y)); // (102 - 127.5) * 2 + 127.5 = 76.5
    device.set("contrast", -50);
    EXPECT_EQ(115, device.scan().gray(ramp_x(6), ramp_y)); // (102 - 127.5) / 2 + 127.5 = 114.75
    device.stop();
    device.set("contrast", 0);
    device.set("is-custom-gamma", true);
    device.set("gamma", 2.0);
    EXPECT_EQ(161, device.scan().gray(ramp_x(6), ramp_y)); // 255 * sqrt(0.4) = 161.28
}

TEST_F(driver_scanning, lets_an_inactive_option_keep_its_value_without_acting)
{
    scanner device;
    scan_simply(device, "Gray");
    device.set("brightness", 20);
    _opt_enabled notice{};
    std::strcpy(notice.name, "brightness");
    ASSERT_EQ(0, kx_scanner_control(device.handle(), 0x10000001, &notice, nullptr));
    EXPECT_EQ(102, device.scan().gray(ramp_x(6), ramp_y));
    EXPECT_EQ(20, device.option("brightness")["cur"]);
    notice.enabled = 1;
    ASSERT_EQ(0, kx_scanner_control(device.handle(), 0x10000001, &notice, nullptr));
    EXPECT_EQ(128, device.scan().gray(ramp_x(6), ramp_y));
}

TEST_F(driver_scanning, cuts_the_area_out_of_the_paper)
{
    scanner device;
    scan_simply(device, "Gray");
    device.set_area(101.6, 111.76, 127, 124.46); // at 400, 440 points
    const scanned_page page = device.scan();
    EXPECT_EQ(100, page.parameters.pixels_per_line);
    EXPECT_EQ(50, page.parameters.lines);
    EXPECT_EQ(136, page.gray(ramp_x(8) - 400, ramp_y - 440));
    EXPECT_EQ(153, page.gray(ramp_x(9) - 400, ramp_y - 440));
}

TEST_F(driver_scanning, takes_the_edges_of_an_area_in_either_order)
{
    scanner device;
    scan_simply(device, "Gray");
    device.set_area(127, 124.46, 101.6, 111.76);
    const scanned_page page = device.scan();
    EXPECT_EQ(100, page.parameters.pixels_per_line);
    EXPECT_EQ(136, page.gray(ramp_x(8) - 400, ramp_y - 440));
}

TEST_F(driver_scanning, is_white_beyond_the_paper)
{
    scanner device;
    scan_simply(device, "Gray");
    device.set_area(0, 0, 297, 420);
    const scanned_page page = device.scan();
    EXPECT_EQ(0, page.gray(30, 30)); // the bar along the top edge
    for (int x = 827; x < 1169; x += 19)
        EXPECT_EQ(255, page.gray(x, 600));
    for (int y = 1169; y < 1654; y += 19)
        for (int x = 0; x < 1169; ++x)
            EXPECT_EQ(255, page.gray(x, y)) << x << " " << y;
}

TEST_F(driver_scanning, scans_the_whole_paper_without_a_custom_area)
{
    scanner device;
    scan_simply(device, "Gray");
    device.set_area(10, 10, 20, 20);
    device.set("is-custom-area", false);
    EXPECT_EQ(827, device.parameters().pixels_per_line);
    EXPECT_EQ(1169, device.scan().parameters.lines);
    EXPECT_EQ(10.0, device.option("tl-x")["cur"]);
}

TEST_F(driver_scanning, follows_the_paper_size)
{
    scanner device;
    scan_simply(device, "Gray");
    device.set("paper", "A5 landscape");
    const scanned_page page = device.scan();
    EXPECT_EQ(827, page.parameters.pixels_per_line);
    EXPECT_EQ(583, page.parameters.lines);
}

TEST_F(driver_scanning, cuts_a_page_to_the_sheets_own_size)
{
    scanner device;
    scan_simply(device, "Gray");
    device.set("paper", "Original size");
    EXPECT_EQ(1654, device.parameters().lines); // the largest sheet, until a sheet is there
    const scanned_page page = device.scan();
    EXPECT_EQ(827, page.parameters.pixels_per_line);
    EXPECT_EQ(1169, page.parameters.lines);
}

TEST_F(driver_scanning, delivers_front_and_back_of_three_sheets_and_starts_over)
{
    struct {
        SANE_Parameters parameters;
        int page, sheet, side, dpi, reserved[2];
    } info{};
    static_assert(sizeof info == 48);
    scanner device;
    device.set("resolution", 75);
    for (int job = 0; job < 2; ++job) {
        for (int page = 1; page <= 6; ++page) {
            ASSERT_EQ(0, device.start());
            ASSERT_EQ(0, kx_scanner_get_img_info(device.handle(), &info, 48));
            EXPECT_EQ(page, info.page);
            EXPECT_EQ((page + 1) / 2, info.sheet);
            EXPECT_EQ((page + 1) % 2, info.side);
            EXPECT_EQ(75, info.dpi);
            device.read();
        }
        EXPECT_EQ(0xDE07, device.start());
    }
}

TEST_F(driver_scanning, delivers_fronts_only_when_one_side_is_scanned)
{
    scanner device;
    scan_simply(device, "Gray");
    EXPECT_EQ(3U, device.scan_all().size());
}

TEST_F(driver_scanning, gives_no_back_of_a_sheet_that_was_fed_for_its_front_alone)
{
    const auto next_side = [](scanner &device) {
        int info[12] = {};
        EXPECT_EQ(0, device.start());
        EXPECT_EQ(0, kx_scanner_get_img_info(device.handle(), info, 48));
        return std::pair(info[7], info[8]);
    };
    scanner device;
    scan_simply(device, "Gray");
    EXPECT_EQ(std::pair(1, 0), next_side(device));
    device.set("page", "Both sides");
    EXPECT_EQ(std::pair(2, 0), next_side(device));
    EXPECT_EQ(std::pair(2, 1), next_side(device));
    device.set("page", "Front side");
    EXPECT_EQ(std::pair(3, 0), next_side(device));
    device.set("page", "Both sides");
    EXPECT_EQ(0xDE07, device.start());
}

TEST_F(driver_scanning, shows_a_different_document_side_on_each_page)
{
    scanner device;
    device.set("mode", "Gray");
    device.set("resolution", 75);
    const auto pages = device.scan_all();
    ASSERT_EQ(6U, pages.size());
    for (std::size_t i = 0; i < pages.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(pages[j].data, pages[i].data) << i << " and " << j;
}

TEST_F(driver_scanning, turns_back_sides_only)
{
    scanner device;
    device.set("mode", "Gray");
    device.set("resolution", 100);
    device.set("is-rotate-bkg-180", true);
    const scanned_page front = device.scan();
    const scanned_page back = device.scan();
    EXPECT_EQ(85, front.gray(ramp_x(5), ramp_y));
    EXPECT_EQ(85, back.gray(826 - ramp_x(5), 1168 - ramp_y));
    EXPECT_EQ(0, back.gray(826 - 30, 1168 - 30));
    EXPECT_EQ(255, back.gray(60, 70)); // where the square in the top left corner was
}

TEST_F(driver_scanning, ends_a_job_after_the_number_of_pages)
{
    scanner device;
    device.set("resolution", 75);
    device.set("scan-mode", "Given number of pages");
    device.set("scan-count", 2);
    EXPECT_EQ(2U, device.scan_all().size());
    EXPECT_EQ(2U, device.scan_all().size());
    device.set("scan-mode", "Until the feeder is empty");
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST_F(driver_scanning, goes_on_with_the_next_page_when_one_is_left_unread)
{
    scanner device;
    device.set("resolution", 75);
    for (int page = 0; page < 6; ++page)
        EXPECT_EQ(0, device.start());
    EXPECT_EQ(0xDE07, device.start());
}

TEST_F(driver_scanning, takes_settings_between_pages)
{
    scanner device;
    scan_simply(device, "Gray");
    EXPECT_EQ(827, device.scan().parameters.pixels_per_line);
    device.set("resolution", 75);
    EXPECT_EQ(620, device.parameters().pixels_per_line);
    EXPECT_EQ(620, device.scan().parameters.pixels_per_line);
}

TEST_F(driver_scanning, tells_the_next_pages_size_after_a_set_that_adjusts_and_after_restoring)
{
    scanner device;
    scan_simply(device, "Gray");
    device.scan();
    EXPECT_EQ(827, device.parameters().pixels_per_line);
    EXPECT_EQ(261, device.set("resolution", 70));
    EXPECT_EQ(620, device.parameters().pixels_per_line);
    EXPECT_EQ(620, device.scan().parameters.pixels_per_line);
    EXPECT_EQ(262, kx_scanner_control(device.handle(), 0x20000001, nullptr, nullptr));
    EXPECT_EQ(1654, device.parameters().pixels_per_line);
    EXPECT_EQ(SANE_FRAME_RGB, device.parameters().format);
}

TEST_F(driver_scanning, tells_a_pages_end_also_when_settings_change_before_it_is_told)
{
    scanner device;
    scan_simply(device, "Gray");
    ASSERT_EQ(0, device.start());
    std::vector<unsigned char> page(827UL * 1169);
    long length = 827L * 1169;
    ASSERT_EQ(0, kx_scanner_read_img_data(device.handle(), page.data(), &length));
    ASSERT_EQ(827 * 1169, length);
    EXPECT_EQ(278, device.set("resolution", 75));
    EXPECT_EQ(827, device.parameters().pixels_per_line);
    EXPECT_EQ(266, kx_scanner_read_img_data(device.handle(), page.data(), &length));
    EXPECT_EQ(278, device.set("resolution", 75));
    EXPECT_EQ(620, device.parameters().pixels_per_line);
}

TEST_F(driver_scanning, keeps_a_page_in_progress_as_it_was_started)
{
    scanner device;
    scan_simply(device, "Gray");
    ASSERT_EQ(0, device.start());
    device.set("resolution", 75);
    EXPECT_EQ(827, device.read().parameters.pixels_per_line);
}

TEST_F(driver_scanning, gives_the_same_bytes_in_pieces_of_any_size)
{
    scanner device;
    scan_simply(device, "Lineart");
    ASSERT_EQ(0, device.start());
    const auto whole = device.read(1 << 20).data;
    for (const long piece : {1L, 7L, 104L, 4096L}) {
        device.stop();
        ASSERT_EQ(0, device.start());
        EXPECT_EQ(whole, device.read(piece).data) << piece;
    }
}

TEST_F(driver_scanning, refuses_reads_that_cannot_be)
{
    scanner device;
    std::vector<unsigned char> buffer(10);
    long length = 10;
    EXPECT_EQ(268, kx_scanner_read_img_data(device.handle(), buffer.data(), &length));
    EXPECT_EQ(0, length);
    ASSERT_EQ(0, device.start());
    for (const long room : {0L, -1L}) {
        length = room;
        EXPECT_EQ(256, kx_scanner_read_img_data(device.handle(), buffer.data(), &length));
        EXPECT_EQ(0, length);
    }
    length = 10;
    EXPECT_EQ(256, kx_scanner_read_img_data(device.handle(), nullptr, &length));
    EXPECT_EQ(0, length);
    EXPECT_EQ(256, kx_scanner_read_img_data(device.handle(), buffer.data(), nullptr));
    length = 10;
    EXPECT_EQ(256, kx_scanner_read_img_data(nullptr, buffer.data(), &length));
    EXPECT_EQ(0, length);
}

TEST_F(driver_scanning, reports_the_end_of_a_page_again_and_again)
{
    scanner device;
    scan_simply(device, "Gray");
    device.scan();
    unsigned char byte = 0;
    long length = 1;
    EXPECT_EQ(266, kx_scanner_read_img_data(device.handle(), &byte, &length));
    EXPECT_EQ(0, length);
}

TEST_F(driver_scanning, tells_image_information_of_24_and_48_bytes_only)
{
    scanner device;
    unsigned char info[64];
    std::memset(info, 0xAA, sizeof info);
    EXPECT_EQ(256, kx_scanner_get_img_info(device.handle(), info, 23));
    EXPECT_EQ(256, kx_scanner_get_img_info(device.handle(), info, 49));
    EXPECT_EQ(256, kx_scanner_get_img_info(device.handle(), nullptr, 24));
    EXPECT_EQ(256, kx_scanner_get_img_info(nullptr, info, 24));
    EXPECT_EQ(0xAA, info[0]);
    EXPECT_EQ(0, kx_scanner_get_img_info(device.handle(), info, 24));
    EXPECT_EQ(0xAA, info[24]);
    EXPECT_EQ(0, kx_scanner_get_img_info(device.handle(), info, 48));
    EXPECT_EQ(0xAA, info[48]);
}

TEST_F(driver_scanning, serves_two_handles_from_two_threads)
{
    const auto scan_in = [](const char *mode, std::size_t *pages, int *bytes) {
        scanner device;
        scan_simply(device, mode);
        device.set("page", "Both sides");
        const auto scanned = device.scan_all();
        *pages = scanned.size();
        *bytes = scanned.front().parameters.bytes_per_line;
    };
    std::size_t gray_pages = 0;
    std::size_t color_pages = 0;
    int gray_bytes = 0;
    int color_bytes = 0;
    std::thread other(scan_in, "Gray", &gray_pages, &gray_bytes);
    scan_in("Color", &color_pages, &color_bytes);
    other.join();
    EXPECT_EQ(6U, gray_pages);
    EXPECT_EQ(6U, color_pages);
    EXPECT_EQ(827, gray_bytes);
    EXPECT_EQ(2481, color_bytes);
}

} // namespace driver_test
