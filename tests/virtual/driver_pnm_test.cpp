// SPDX-License-Identifier: MIT
// Files of the PNM family by their bytes: all kinds, headers of every shape, and files that are not whole.
#include "driver_fixture.h"
#include "worn_scanner.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace driver_test {

class driver_pnm : public worn_sheets {
protected:
    void SetUp() override { start_profile(json::parse(content_of(DUPLEX_PROFILE))); }

    // The colours at the left and the right of a page that is made of the file's bytes.
    std::pair<std::vector<int>, std::vector<int>> ends_of(const std::string &bytes) const
    {
        write_file(folder_.file("sheet.pnm"), bytes);
        const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
        scanner device;
        device.set("resolution", 75);
        const int answer = device.start();
        EXPECT_EQ(0, answer);
        if (answer != 0)
            return {};
        const scanned_page page = device.read();
        return {page.color(5, 400), page.color(614, 400)};
    }

    int answer_to(const std::string &bytes) const
    {
        write_file(folder_.file("sheet.pnm"), bytes);
        const environment_variable feed("PELVIRTUAL_FEED", folder_.file("").c_str());
        scanner device;
        return device.start();
    }
};

using two_colors = std::pair<std::vector<int>, std::vector<int>>;

TEST_F(driver_pnm, gives_colours_and_greys_of_bytes)
{
    EXPECT_EQ(two_colors({1, 2, 3}, {200, 201, 202}), ends_of("P6\n2 1\n255\n\x01\x02\x03\xc8\xc9\xca"));
    EXPECT_EQ(two_colors({7, 7, 7}, {100, 100, 100}), ends_of("P5 2 1 255 \x07\x64"));
}

TEST_F(driver_pnm, reads_headers_with_comments_and_any_white_space)
{
    EXPECT_EQ(two_colors({7, 7, 7}, {100, 100, 100}),
              ends_of("P5\n# made by hand 9 9\n2\t \r\n1 #end\n# 7\n255\n\x07\x64"));
}

TEST_F(driver_pnm, keeps_bytes_that_look_like_white_space)
{
    EXPECT_EQ(two_colors({10, 10, 10}, {32, 32, 32}), ends_of("P5 2 1 255\n\n "));
}

// What follows looks like the end of a header when a number is missed.
TEST_F(driver_pnm, takes_the_first_image_of_a_file)
{
    EXPECT_EQ(two_colors({7, 7, 7}, {100, 100, 100}),
              ends_of("P5\n2 1\n255\n\x07\x64P5\n255\n" + std::string(510, '\x32')));
    std::string colors = "P6\n2 4\n255\n";
    for (int row = 0; row < 4; ++row)
        colors += "\x01\x02\x03\xc8\xc9\xca";
    EXPECT_EQ(two_colors({1, 2, 3}, {200, 201, 202}), ends_of(colors + std::string(100, '\x32')));
}

TEST_F(driver_pnm, reads_the_other_kinds_too)
{
    EXPECT_EQ(two_colors({0, 0, 0}, {255, 255, 255}), ends_of("P1\n2 4\n1 0\n1 0\n1 0\n1 0\n"));
    EXPECT_EQ(two_colors({9, 9, 9}, {90, 90, 90}), ends_of("P2\n2 1\n255\n9 90\n"));
    std::string rows;
    for (int y = 0; y < 8; ++y)
        rows += std::string("\xff\0", 2);
    EXPECT_EQ(two_colors({0, 0, 0}, {255, 255, 255}), ends_of("P4\n16 8\n" + rows));
}

TEST_F(driver_pnm, is_refused_when_it_is_not_whole)
{
    for (const char *bytes : {"P6\n2 1\n255\n\x01\x02\x03\xc8\xc9", "P5", "P5 2", "P5 2 1 255",
                              "P6 99999999 1 255 \x01", "P5 # comment without end"})
        EXPECT_EQ(269, answer_to(bytes)) << bytes;
}

} // namespace driver_test
