// SPDX-License-Identifier: MIT
// Settings and what becomes of the pages: area times resolution, depth, and the content that belongs there.
#include "image.h"
#include "scanimage.h"

#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace system_test {

namespace {

struct page_case {
    const char *name;
    std::vector<std::string> settings;
    int width;
    int height;
    int depth;
};

void PrintTo(const page_case &page, std::ostream *out)
{
    *out << page.name;
}

} // namespace

class page_settings : public scanimage, public testing::WithParamInterface<page_case> {};

TEST_P(page_settings, give_size_and_depth)
{
    const page_case &expected = GetParam();
    arguments options{"--format=png"};
    options.insert(options.end(), expected.settings.begin(), expected.settings.end());
    const outcome result = run(options);
    ASSERT_EQ(0, result.status) << result.messages;
    const pix_ptr page = read_image(path("output"));
    ASSERT_NE(nullptr, page);
    EXPECT_EQ(expected.width, pixGetWidth(page.get()));
    EXPECT_EQ(expected.height, pixGetHeight(page.get()));
    EXPECT_EQ(expected.depth, pixGetDepth(page.get()));
}

INSTANTIATE_TEST_SUITE_P(
    table, page_settings,
    testing::Values(
        page_case{"color_75", {"--resolution", "75"}, 620, 877, 32},
        page_case{"gray_100", {"--mode", "Gray", "--resolution", "100"}, 827, 1169, 8},
        page_case{"lineart_150", {"--mode", "Lineart", "--resolution", "150"}, 1240, 1754, 1},
        page_case{"gray_300", {"--mode", "Gray", "--resolution", "300"}, 2480, 3508, 8},
        page_case{"area", {"-l", "10", "-t", "20", "-x", "100", "-y", "50", "--resolution", "100"}, 394, 197, 32},
        page_case{"area_after_resolution", {"--resolution", "75", "-x", "127", "-y", "254"}, 375, 750, 32},
        page_case{"odd_lineart", {"--mode", "Lineart", "--resolution", "100", "-x", "50.8", "-y", "25.4"}, 200, 100, 1},
        page_case{"wider_than_the_sheet", {"--resolution", "75", "-x", "297", "-y", "420"}, 877, 1240, 32},
        page_case{"sheet_a5", {"--is-custom-area=no", "--paper", "A5", "--resolution", "100"}, 583, 827, 32},
        page_case{"sheet_a3", {"--is-custom-area=no", "--paper", "A3", "--resolution", "75"}, 877, 1240, 32},
        page_case{"speed", {"--image-quality", "Speed"}, 1240, 1754, 32}),
    [](const testing::TestParamInfo<page_case> &instance) { return std::string(instance.param.name); });

class page_content : public scanimage {
protected:
    pix_ptr scan(const arguments &settings) const
    {
        arguments options{"--format=png"};
        options.insert(options.end(), settings.begin(), settings.end());
        const outcome result = run(options);
        EXPECT_EQ(0, result.status) << result.messages;
        pix_ptr page = read_image(path("output"));
        if (page == nullptr)
            throw std::runtime_error("no page: " + result.messages);
        return page;
    }
};

// A black square near the top left corner; eight bars of 22.5 mm from 15 mm on, in the middle of the page.
TEST_F(page_content, is_the_document_in_its_colors)
{
    const pix_ptr page = scan({"--resolution", "100"});
    EXPECT_EQ(black, color_at(page.get(), 16, 19, 100));
    EXPECT_EQ(white, color_at(page.get(), 3, 3, 100));
    const rgb bars[] = {white,         {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                        {255, 0, 255}, {255, 0, 0},   {0, 0, 255},   black};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(bars[i], color_at(page.get(), 26.25 + 22.5 * i, 164, 100)) << i;
}

TEST_F(page_content, is_luminance_in_gray)
{
    const pix_ptr page = scan({"--resolution", "100", "--mode", "Gray"});
    const int grays[] = {255, 226, 179, 150, 105, 76, 29, 0};
    for (int i = 0; i < 8; ++i)
        EXPECT_NEAR(grays[i], color_at(page.get(), 26.25 + 22.5 * i, 164, 100).red, 1) << i;
}

TEST_F(page_content, is_divided_by_the_threshold_in_lineart)
{
    const pix_ptr page = scan({"--resolution", "100", "--mode", "Lineart", "--threshold", "100"});
    const rgb bars[] = {white, white, white, white, white, black, black, black};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(bars[i], color_at(page.get(), 26.25 + 22.5 * i, 164, 100)) << i;
}

TEST_F(page_content, is_cut_at_the_area)
{
    const pix_ptr page = scan({"--resolution", "100", "-l", "60", "-t", "149", "-x", "45", "-y", "30"});
    EXPECT_EQ((rgb{0, 255, 255}), color_at(page.get(), 11.25, 15, 100));
    EXPECT_EQ((rgb{0, 255, 0}), color_at(page.get(), 33.75, 15, 100));
}

TEST_F(page_content, turns_into_the_negative)
{
    const pix_ptr page = scan({"--resolution", "100", "--mode", "Lineart", "--reverse-bw=yes"});
    EXPECT_EQ(white, color_at(page.get(), 16, 19, 100));
    EXPECT_EQ(black, color_at(page.get(), 3, 3, 100));
}

TEST_F(page_content, is_complete_at_the_highest_resolution)
{
    const outcome result = run({"--format=pnm", "--resolution", "600"});
    ASSERT_EQ(0, result.status) << result.messages;
    const std::string header = "P6\n# SANE data follows\n4961 7016\n255\n";
    const std::string file = read_file(path("output"));
    EXPECT_EQ(header, file.substr(0, header.size()));
    EXPECT_EQ(header.size() + 4961UL * 7016UL * 3UL, file.size());
    const pix_ptr page = read_image(path("output"));
    ASSERT_NE(nullptr, page);
    EXPECT_EQ((rgb{0, 0, 255}), color_at(page.get(), 161.25, 164, 600));
    // The frame's bottom right corner.
    EXPECT_EQ(black, color_at(page.get(), 203.75, 290.75, 600));
    EXPECT_EQ(white, color_at(page.get(), 209, 296, 600));
}

} // namespace system_test
