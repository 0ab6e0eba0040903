// SPDX-License-Identifier: MIT
// The duplex feeder with sheets that have seen something, for tests that measure its pages.
#ifndef PELSANE_TESTS_WORN_SCANNER_H
#define PELSANE_TESTS_WORN_SCANNER_H

#include "driver_fixture.h"
#include "kx_scanner.h"
#include "langkit_control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace driver_test {

struct pix_deleter {
    void operator()(Pix *pix) const { pixDestroy(&pix); }
};

using pix_ptr = std::unique_ptr<Pix, pix_deleter>;

// A page of greys as an image.
inline pix_ptr to_pix(const scanned_page &page)
{
    pix_ptr image(pixCreate(page.parameters.pixels_per_line, page.parameters.lines, 8));
    for (int y = 0; y < page.parameters.lines; ++y)
        for (int x = 0; x < page.parameters.pixels_per_line; ++x)
            pixSetPixel(image.get(), x, y, static_cast<l_uint32>(page.gray(x, y)));
    return image;
}

// The angle that a page of greys would have to be turned by to be straight, in degrees clockwise.
inline double skew_of(const scanned_page &page)
{
    const pix_ptr gray = to_pix(page);
    const pix_ptr print(pixThresholdToBinary(gray.get(), 128));
    l_float32 angle = 0;
    l_float32 confidence = 0;
    EXPECT_EQ(0, pixFindSkew(print.get(), &angle, &confidence));
    EXPECT_GT(confidence, 3.0F);
    return static_cast<double>(angle);
}

// Of a page of greys.
inline long points_darker_than(const scanned_page &page, int limit)
{
    return std::count_if(page.data.begin(), page.data.end(), [&](unsigned char gray) { return gray < limit; });
}

class worn_sheets : public ::testing::Test {
protected:
    void TearDown() override { stop_driver(); }

    // Starts the driver with the shipped profile whose sheets are as said, as "pages" takes it.
    void start_with(const char *pages)
    {
        json profile = json::parse(content_of(DUPLEX_PROFILE));
        profile["pages"] = json::parse(pages);
        start_profile(profile);
    }

    void start_profile(const json &profile)
    {
        stop_driver();
        langkit_set_language("en");
        const std::string path = write_file(folder_.file("profile.json"), profile.dump());
        profiles_.reset(); // before the next one looks at what it is to restore
        profiles_ = std::make_unique<environment_variable>("PELVIRTUAL_PROFILES", path.c_str());
        ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
        is_running_ = true;
    }

    // Grey pages, not mended, one side a sheet. Places on them are points of 0.254 mm.
    static void scan_plainly(scanner &device)
    {
        device.set("mode", "Gray");
        device.set("resolution", 100);
        device.set("page", "Front side");
        device.set("is-anti-skew", false);
        device.set("is-erase-black-frame", false);
    }

    temporary_folder folder_;

private:
    void stop_driver()
    {
        if (is_running_) {
            EXPECT_EQ(0, kx_scanner_uninitialize());
        }
        is_running_ = false;
    }

    std::unique_ptr<environment_variable> profiles_;
    bool is_running_ = false;
};

} // namespace driver_test

#endif
