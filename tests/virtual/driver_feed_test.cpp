// SPDX-License-Identifier: MIT
// Pages from a folder of image files: formats, order, sides, scaling, blank pages, and files that cannot be read.
#include "driver_fixture.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <sys/stat.h>
#include <vector>

namespace driver_test {

// A folder that the feeder takes its sheets from.
class driver_feed : public driver_running {
protected:
    driver_feed() : feed_("PELVIRTUAL_FEED", folder_.file("").c_str()) {}

    // An image that is dark on its left and light on its right half.
    void write_image(const std::string &name, int format, l_uint32 dark, l_uint32 light, int width = 210,
                     int height = 297) const
    {
        Pix *image = pixCreate(width, height, 8);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                pixSetPixel(image, x, y, x < width / 2 ? dark : light);
        ASSERT_EQ(0, pixWrite(folder_.file(name).c_str(), image, format));
        pixDestroy(&image);
    }

    void write_gray(const std::string &name, l_uint32 gray) const { write_image(name, IFF_PNM, gray, gray); }

    static void scan_simply(scanner &device)
    {
        device.set("mode", "Gray");
        device.set("resolution", 75);
        device.set("page", "Front side");
    }

    static std::vector<int> middle_grays(const std::vector<scanned_page> &pages)
    {
        std::vector<int> grays;
        grays.reserve(pages.size());
        for (const scanned_page &page : pages)
            grays.push_back(page.gray(310, 438));
        return grays;
    }

    temporary_folder folder_;
    environment_variable feed_;
};

TEST_F(driver_feed, comes_in_the_byte_order_of_the_names)
{
    write_gray("b.pgm", 20);
    write_gray("a10.pgm", 12);
    write_gray("a9.pgm", 13);
    write_gray("C.pgm", 11);
    write_file(folder_.file("readme.txt"), "no image");
    scanner device;
    scan_simply(device);
    EXPECT_EQ((std::vector<int>{11, 12, 13, 20}), middle_grays(device.scan_all()));
}

TEST_F(driver_feed, takes_png_jpeg_tiff_and_pnm)
{
    write_image("1.png", IFF_PNG, 40, 200);
    write_image("2.JPG", IFF_JFIF_JPEG, 40, 200);
    write_image("3.jpeg", IFF_JFIF_JPEG, 40, 200);
    write_image("4.tif", IFF_TIFF, 40, 200);
    write_image("5.tiff", IFF_TIFF_ZIP, 40, 200);
    write_image("6.pnm", IFF_PNM, 40, 200);
    write_image("7.pgm", IFF_PNM, 40, 200);
    scanner device;
    scan_simply(device);
    const auto pages = device.scan_all();
    ASSERT_EQ(7U, pages.size());
    for (const scanned_page &page : pages) {
        EXPECT_EQ(620, page.parameters.pixels_per_line);
        EXPECT_EQ(877, page.parameters.lines);
        EXPECT_NEAR(40, page.gray(155, 438), 2);
        EXPECT_NEAR(200, page.gray(465, 438), 2);
    }
}

TEST_F(driver_feed, keeps_the_colours_of_an_image)
{
    Pix *image = pixCreate(100, 100, 32);
    l_uint32 color = 0;
    composeRGBPixel(10, 120, 230, &color);
    pixSetAllArbitrary(image, color);
    ASSERT_EQ(0, pixWrite(folder_.file("color.ppm").c_str(), image, IFF_PNM));
    pixDestroy(&image);
    scanner device;
    device.set("resolution", 75);
    EXPECT_EQ((std::vector<int>{10, 120, 230}), device.scan().color(310, 438));
}

TEST_F(driver_feed, keeps_the_colours_of_images_of_every_kind)
{
    const auto write = [&](const char *name, Pix *image) {
        ASSERT_EQ(0, pixWrite(folder_.file(name).c_str(), image, IFF_PNG));
    };
    Pix *full = pixCreate(100, 100, 32);
    l_uint32 color = 0;
    composeRGBPixel(10, 120, 230, &color);
    pixSetAllArbitrary(full, color);
    write("1.png", full);
    Pix *mapped = pixConvertRGBToColormap(full, 0);
    ASSERT_NE(nullptr, pixGetColormap(mapped));
    write("2.png", mapped);
    Pix *bits = pixCreate(100, 100, 1);
    pixSetAll(bits);
    write("3.png", bits);
    Pix *deep = pixCreate(100, 100, 16);
    pixSetAllArbitrary(deep, 0x4567);
    write("4.png", deep);
    for (Pix *image : {full, mapped, bits, deep})
        pixDestroy(&image);
    scanner device;
    device.set("resolution", 75);
    device.set("page", "Front side");
    const std::vector<int> expected[] = {{10, 120, 230}, {10, 120, 230}, {0, 0, 0}, {0x45, 0x45, 0x45}};
    const auto pages = device.scan_all();
    ASSERT_EQ(4U, pages.size());
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(expected[i], pages[i].color(310, 438)) << i;
}

TEST_F(driver_feed, lays_transparent_images_over_white)
{
    Pix *image = pixCreate(100, 100, 32);
    pixSetSpp(image, 4);
    l_uint32 color = 0;
    composeRGBAPixel(0, 0, 0, 0, &color);
    pixSetAllArbitrary(image, color);
    ASSERT_EQ(0, pixWrite(folder_.file("clear.png").c_str(), image, IFF_PNG));
    pixDestroy(&image);
    scanner device;
    device.set("resolution", 75);
    EXPECT_EQ((std::vector<int>{255, 255, 255}), device.scan().color(310, 438));
}

TEST_F(driver_feed, takes_two_files_a_sheet_when_both_sides_are_scanned)
{
    for (const char *name : {"1.pgm", "2.pgm", "3.pgm"})
        write_gray(name, 99);
    scanner device;
    scan_simply(device);
    device.set("page", "Both sides");
    const int sides[] = {0, 1, 0};
    const int sheets[] = {1, 1, 2};
    for (int page = 0; page < 3; ++page) {
        int info[12];
        ASSERT_EQ(0, device.start());
        ASSERT_EQ(0, kx_scanner_get_img_info(device.handle(), info, 48));
        EXPECT_EQ(sheets[page], info[7]);
        EXPECT_EQ(sides[page], info[8]);
        device.read();
    }
    EXPECT_EQ(0xDE07, device.start());
}

TEST_F(driver_feed, is_listed_afresh_for_each_job)
{
    write_gray("1.pgm", 10);
    scanner device;
    scan_simply(device);
    EXPECT_EQ(1U, device.scan_all().size());
    write_gray("2.pgm", 20);
    EXPECT_EQ((std::vector<int>{10, 20}), middle_grays(device.scan_all()));
}

TEST_F(driver_feed, passes_over_a_file_that_cannot_be_read_after_saying_so)
{
    const captured_log log;
    restart();
    write_gray("1.pgm", 10);
    write_file(folder_.file("2.pgm"), "P5 nonsense");
    write_file(folder_.file("3.jpg"), "");
    write_gray("4.pgm", 40);
    scanner device;
    scan_simply(device);
    EXPECT_EQ(10, device.scan().gray(310, 438));
    EXPECT_EQ(269, device.start());
    EXPECT_EQ(269, device.start());
    EXPECT_EQ(40, device.scan().gray(310, 438));
    EXPECT_EQ(0xDE07, device.start());
    EXPECT_NE(std::string::npos,
              log.text().find("An image of the feed cannot be read: " + folder_.file("2.pgm") + ": "));
    EXPECT_NE(std::string::npos,
              log.text().find("An image of the feed cannot be read: " + folder_.file("3.jpg") + ": "));
}

TEST_F(driver_feed, counts_regular_files_and_links_to_them_alone)
{
    write_gray("1.pgm", 10);
    ASSERT_EQ(0, mkfifo(folder_.file("2.pgm").c_str(), 0600));
    std::filesystem::create_directory(folder_.file("3.pgm"));
    std::filesystem::create_symlink(folder_.file("missing.pgm"), folder_.file("4.pgm"));
    std::filesystem::create_symlink(folder_.file("1.pgm"), folder_.file("5.pgm"));
    scanner device;
    scan_simply(device);
    EXPECT_EQ((std::vector<int>{10, 10}), middle_grays(device.scan_all()));
}

TEST_F(driver_feed, says_which_image_cannot_be_made_to_a_page_of_the_size_wanted)
{
    const captured_log log;
    const std::string path = write_file(folder_.file("profile.json"), R"({
        "device": {"name": "test:large", "vendor": "V", "model": "M", "type": "sheetfed scanner"},
        "papers": {"Huge": {"width": 1000, "height": 1000}}, "information": {}, "options": [
        {"name": "paper", "type": "string", "title": 1, "desc": 2, "range": ["Huge"], "default": "Huge", "means": "paper"},
        {"name": "resolution", "type": "int", "title": 1, "desc": 2, "range": [1200], "default": 1200,
         "means": "resolution"}]})");
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    restart();
    write_gray("1.pgm", 10);
    scanner device;
    EXPECT_EQ(269, device.start());
    EXPECT_EQ(0xDE07, device.start());
    EXPECT_NE(std::string::npos,
              log.text().find("An image of the feed cannot be read: " + folder_.file("1.pgm") + ": Error in pix"));
}

TEST_F(driver_feed, leaves_the_messages_of_images_that_it_does_not_read_to_the_application)
{
    const std::string missing = folder_.file("missing.png");
    const std::string printed = standard_error_of([&] { EXPECT_EQ(nullptr, pixRead(missing.c_str())); });
    EXPECT_NE(std::string::npos, printed.find("Error in pixRead")) << printed;
}

TEST_F(driver_feed, without_images_is_an_empty_feeder)
{
    const captured_log log;
    restart();
    write_file(folder_.file("readme.txt"), "no image");
    scanner device;
    EXPECT_EQ(0xDE07, device.start());
    EXPECT_EQ(0xDE07, device.start());
    EXPECT_NE(std::string::npos,
              log.text().find("The feeder is empty: the folder " + folder_.file("") + " has 0 images"));
}

TEST_F(driver_feed, from_a_folder_that_does_not_exist_is_an_error)
{
    const captured_log log;
    restart();
    const environment_variable feed("PELVIRTUAL_FEED", folder_.file("missing").c_str());
    scanner device;
    EXPECT_EQ(269, device.start());
    EXPECT_EQ(269, device.start());
    EXPECT_NE(std::string::npos, log.text().find("The feed folder cannot be read: " + folder_.file("missing") +
                                                 ": No such file or directory"));
}

TEST_F(driver_feed, passes_over_blank_pages_when_asked_to)
{
    write_gray("1.pgm", 250);
    write_image("2.pgm", IFF_PNM, 30, 250);
    write_gray("3.pgm", 255);
    write_image("4.pgm", IFF_PNM, 60, 250);
    scanner device;
    scan_simply(device);
    EXPECT_EQ(4U, device.scan_all().size());
    device.set("discardblank", true);
    auto pages = device.scan_all();
    ASSERT_EQ(2U, pages.size());
    EXPECT_EQ(30, pages[0].gray(155, 438));
    EXPECT_EQ(60, pages[1].gray(155, 438));
    device.set("discardblank", false);
    device.set("page", "Both sides without blank pages");
    EXPECT_EQ(2U, device.scan_all().size());
}

TEST_F(driver_feed, takes_a_page_with_few_marks_for_blank_by_its_sensitivity)
{
    Pix *image = pixCreate(1000, 1000, 8);
    pixSetAllArbitrary(image, 255);
    for (int x = 0; x < 1000; ++x)
        pixSetPixel(image, x, 500, 0); // a thousandth of the page
    ASSERT_EQ(0, pixWrite(folder_.file("1.png").c_str(), image, IFF_PNG));
    pixDestroy(&image);
    scanner device;
    scan_simply(device);
    device.set("discardblank", true);
    EXPECT_EQ(0U, device.scan_all().size()); // 20 ten-thousandths at first
    device.set("blank-sensitivity", 9);
    EXPECT_EQ(1U, device.scan_all().size());
}

TEST_F(driver_feed, has_the_size_that_an_image_tells_when_the_original_size_is_wanted)
{
    Pix *image = pixCreate(400, 600, 8);
    pixSetResolution(image, 200, 200);
    ASSERT_EQ(0, pixWrite(folder_.file("1.png").c_str(), image, IFF_PNG));
    pixDestroy(&image);
    write_image("2.pgm", IFF_PNM, 0, 255, 600, 900); // tells none: 300 dpi
    scanner device;
    scan_simply(device);
    device.set("paper", "Original size");
    for (int page = 0; page < 2; ++page) {
        const SANE_Parameters parameters = device.scan().parameters;
        EXPECT_EQ(150, parameters.pixels_per_line); // two inches
        EXPECT_EQ(225, parameters.lines);
    }
}

TEST_F(driver_feed, reduces_an_image_that_tells_a_larger_size_than_any_sheet)
{
    Pix *image = pixCreate(400, 400, 8);
    pixSetAllArbitrary(image, 90);
    pixSetResolution(image, 1, 1); // ten metres
    ASSERT_EQ(0, pixWrite(folder_.file("1.tif").c_str(), image, IFF_TIFF));
    pixDestroy(&image);
    scanner device;
    scan_simply(device);
    device.set("paper", "Original size");
    const scanned_page page = device.scan();
    EXPECT_EQ(877, page.parameters.pixels_per_line); // 297 mm
    EXPECT_EQ(877, page.parameters.lines);
    EXPECT_EQ(90, page.gray(438, 438));
}

} // namespace driver_test
