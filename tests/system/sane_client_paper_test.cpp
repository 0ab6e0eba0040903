// SPDX-License-Identifier: MIT
// Applications choose paper and sides by names that all scanners share: "page-width", "page-height" and "duplex". The
// scanner's own options follow, in each language, before and after a reload of the options.
#include "sane_client.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <ostream>
#include <vector>

namespace system_test {

namespace {

struct surroundings {
    const char *what;
    const char *language;
    const char *changed_option; // set first; this makes the options be read afresh
    const char *value;
    const char *original_size;
    const char *one_side;
    const char *both_sides;
    const char *a4_landscape;
};

const std::vector<surroundings> all_surroundings{
    {"in_english", "en", nullptr, nullptr, "Original size", "Front side", "Both sides", "A4 landscape"},
    {"in_chinese", "zh", nullptr, nullptr, "匹配原始尺寸", "单面", "双面", "A4横向"},
    {"in_english_after_a_reload", "en", "is-photo-mode", "true", "Original size", "Front side", "Both sides",
     "A4 landscape"},
    {"in_chinese_after_a_reload", "zh", "is-photo-mode", "true", "匹配原始尺寸", "单面", "双面", "A4横向"},
    {"in_english_after_an_image_reload", "en", "mode", "Lineart", "Original size", "Front side", "Both sides",
     "A4 landscape"},
    {"after_a_change_to_chinese", "en", "language", "简体中文", "匹配原始尺寸", "单面", "双面", "A4横向"},
    {"after_a_change_to_english", "zh", "language", "English", "Original size", "Front side", "Both sides",
     "A4 landscape"},
};

std::ostream &operator<<(std::ostream &out, const surroundings &shown)
{
    return out << shown.what;
}

} // namespace

class client_paper : public sane_client, public testing::WithParamInterface<surroundings> {
protected:
    void open_in_surroundings()
    {
        set_variable("PELLANG", GetParam().language);
        open();
        if (GetParam().changed_option == nullptr)
            return;
        ASSERT_EQ(SANE_STATUS_GOOD, set(GetParam().changed_option, GetParam().value).status);
    }

    std::string paper_for(const char *width, const char *height)
    {
        EXPECT_EQ(SANE_STATUS_GOOD, set("page-width", width).status);
        EXPECT_EQ(SANE_STATUS_GOOD, set("page-height", height).status);
        return get("paper");
    }
};

TEST_P(client_paper, is_the_nearest_to_width_and_height)
{
    open_in_surroundings();
    EXPECT_EQ("A4", paper_for("210", "297"));
    EXPECT_EQ("A3", paper_for("297", "420"));
    EXPECT_EQ("A5", paper_for("148", "210"));
    EXPECT_EQ(GetParam().original_size, paper_for("500", "500"));
    EXPECT_EQ(GetParam().a4_landscape, paper_for("297", "210"));
    EXPECT_EQ("B5", paper_for("180", "245"));
    EXPECT_EQ("A6", paper_for("105", "148"));
}

TEST_P(client_paper, has_one_side_or_both)
{
    open_in_surroundings();
    EXPECT_EQ(GetParam().both_sides, get("page"));
    set("duplex", "false");
    EXPECT_EQ(GetParam().one_side, get("page"));
    set("duplex", "true");
    EXPECT_EQ(GetParam().both_sides, get("page"));
}

INSTANTIATE_TEST_SUITE_P(each, client_paper, testing::ValuesIn(all_surroundings),
                         [](const testing::TestParamInfo<surroundings> &instance) { return instance.param.what; });

class client_page : public sane_client {
protected:
    SANE_Parameters parameters()
    {
        SANE_Parameters now{};
        EXPECT_EQ(SANE_STATUS_GOOD, sane_get_parameters(handle(), &now));
        return now;
    }
};

TEST_F(client_page, has_the_size_that_was_chosen)
{
    open();
    set("resolution", "100");
    set("page-width", "148");
    EXPECT_EQ(reload_all, set("page-height", "210"));
    const delivered_page page = scan_page();
    EXPECT_EQ(583, page.parameters.pixels_per_line);
    EXPECT_EQ(827, page.parameters.lines);
    EXPECT_EQ(583U * 827U * 3U, page.size);
}

TEST_F(client_page, is_told_by_the_scanners_own_options_alone)
{
    open();
    for (const char *name : {"page-width", "page-height", "duplex"}) {
        SANE_Word value = 4711;
        EXPECT_EQ(SANE_STATUS_IO_ERROR,
                  sane_control_option(handle(), number_of(name), SANE_ACTION_GET_VALUE, &value, nullptr))
            << name;
        EXPECT_EQ(4711, value);
    }
}

TEST_F(client_page, depends_on_what_is_set_first)
{
    open();
    set("page-width", "297");
    EXPECT_EQ("A5 landscape", get("paper"));
    set("page-height", "420");
    EXPECT_EQ("A3", get("paper"));
    reopen();
    set("page-width", "420");
    EXPECT_EQ("Original size", get("paper"));
}

TEST_F(client_page, is_a4_on_both_sides_when_the_scanner_chooses)
{
    open();
    set("duplex", "false");
    set("page-width", "148");
    set("page-height", "210");
    EXPECT_EQ(SANE_STATUS_GOOD, set_auto("page-width").status);
    EXPECT_EQ(SANE_STATUS_GOOD, set_auto("page-height").status);
    EXPECT_EQ(SANE_STATUS_GOOD, set_auto("duplex").status);
    EXPECT_EQ("A4", get("paper"));
    EXPECT_EQ("Both sides", get("page"));
}

TEST_F(client_page, follows_the_options_for_its_area)
{
    open();
    set("resolution", "75");
    set("tl-x", "10");
    set("tl-y", "20.5");
    set("br-x", "60");
    set("br-y", "70.5");
    EXPECT_EQ(148, parameters().pixels_per_line);
    EXPECT_EQ(148, parameters().lines);
}

TEST_F(client_page, is_scanned_in_sides_as_chosen)
{
    open();
    set("resolution", "75");
    set("duplex", "false");
    int pages = 0;
    while (scan_page().end == SANE_STATUS_EOF)
        ++pages;
    EXPECT_EQ(3, pages);
    set("duplex", "true");
    pages = 0;
    while (scan_page().end == SANE_STATUS_EOF)
        ++pages;
    EXPECT_EQ(6, pages);
}

} // namespace system_test
