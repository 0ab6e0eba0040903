// SPDX-License-Identifier: MIT
// The same page in every file format that scanimage writes.
#include "image.h"
#include "scanimage.h"

#include <gtest/gtest.h>

#include <string>

namespace system_test {

class file_format : public scanimage, public testing::WithParamInterface<const char *> {
protected:
    pix_ptr scan(const std::string &mode)
    {
        const std::string format = GetParam();
        const outcome result = scan_batch({"--resolution", "100", "--mode", mode, "--batch-count", "1"}, format);
        EXPECT_EQ(0, result.status) << result.messages;
        return pages(format).size() == 1 ? read_image(pages(format)[0]) : nullptr;
    }

    static bool is_lossy() { return std::string(GetParam()) == "jpeg" || std::string(GetParam()) == "pdf"; }
};

TEST_P(file_format, holds_the_page_in_color)
{
    const pix_ptr page = scan("Color");
    ASSERT_NE(nullptr, page);
    EXPECT_EQ(827, pixGetWidth(page.get()));
    EXPECT_EQ(1169, pixGetHeight(page.get()));
    const int tolerance = is_lossy() ? 3 : 0;
    const rgb red = color_at(page.get(), 138.75, 164, 100);
    EXPECT_NEAR(255, red.red, tolerance);
    EXPECT_NEAR(0, red.green, tolerance);
    EXPECT_NEAR(0, red.blue, tolerance);
    EXPECT_NEAR(0, color_at(page.get(), 16, 19, 100).red, tolerance);
}

TEST_P(file_format, holds_the_page_in_gray)
{
    const pix_ptr page = scan("Gray");
    ASSERT_NE(nullptr, page);
    EXPECT_EQ(827, pixGetWidth(page.get()));
    EXPECT_EQ(1169, pixGetHeight(page.get()));
    EXPECT_EQ(8, pixGetDepth(page.get()));
    EXPECT_NEAR(76, color_at(page.get(), 138.75, 164, 100).red, is_lossy() ? 3 : 1);
}

INSTANTIATE_TEST_SUITE_P(each, file_format, testing::Values("png", "tiff", "pnm", "jpeg", "pdf"),
                         [](const testing::TestParamInfo<const char *> &instance) {
                             return std::string(instance.param);
                         });

class lineart_format : public file_format {};

TEST_P(lineart_format, holds_the_page_in_black_and_white)
{
    const pix_ptr page = scan("Lineart");
    ASSERT_NE(nullptr, page);
    EXPECT_EQ(827, pixGetWidth(page.get()));
    EXPECT_EQ(1169, pixGetHeight(page.get()));
    EXPECT_EQ(1, pixGetDepth(page.get()));
    EXPECT_EQ(black, color_at(page.get(), 16, 19, 100));
    EXPECT_EQ(white, color_at(page.get(), 3, 3, 100));
}

INSTANTIATE_TEST_SUITE_P(each, lineart_format, testing::Values("png", "tiff", "pnm"),
                         [](const testing::TestParamInfo<const char *> &instance) {
                             return std::string(instance.param);
                         });

} // namespace system_test
