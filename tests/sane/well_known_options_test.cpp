// SPDX-License-Identifier: MIT
// "page-width", "page-height" and "duplex" as applications see them, on top of the driver's "paper" and "page".
#include "option_device.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace {

constexpr SANE_Int width = 3, height = 4, duplex = 5; // of a device with "paper" and "page"

class well_known_options : public option_device {
protected:
    static void add_paper(SANE_Int number = 1)
    {
        scripted::set_option(number, "paper", R"({"type":"string","size":44,"title":"Paper","cur":"A4"})");
    }
    static void add_page(SANE_Int number = 2, const std::string &cur = "单面")
    {
        scripted::set_option(number, "page", R"({"type":"string","size":20,"title":"Page","cur":")" + cur + "\"}");
    }

    void open_both()
    {
        add_paper();
        add_page();
        open_device();
        scripted::forget_record();
    }

    // The text that setting a well-known option sends to the driver.
    std::string sent(SANE_Int number, SANE_Word word)
    {
        scripted::forget_record();
        EXPECT_EQ(set_word(number, word), SANE_STATUS_GOOD);
        const auto writes = scripted::writes();
        EXPECT_EQ(writes.size(), 1U);
        return writes.empty() ? "nothing" : std::string(writes[0].data.begin(), writes[0].data.end());
    }
};

} // namespace

// ----- what there is -----

TEST_F(well_known_options, stand_behind_the_drivers_options)
{
    open_both();
    struct {
        SANE_Int number;
        const char *name, *title, *desc;
        SANE_Value_Type type;
        SANE_Unit unit;
    } const cases[] = {
        {width, "page-width", "Page Width", "set page width", SANE_TYPE_INT, SANE_UNIT_MM},
        {height, "page-height", "Page Height", "set page height", SANE_TYPE_INT, SANE_UNIT_MM},
        {duplex, "duplex", "Duplex", "set page to be simplex or duplex", SANE_TYPE_BOOL, SANE_UNIT_NONE},
    };
    for (const auto &c : cases) {
        const auto *option = descriptor(c.number);
        ASSERT_NE(option, nullptr) << c.name;
        EXPECT_STREQ(option->name, c.name);
        EXPECT_STREQ(option->title, c.title);
        EXPECT_STREQ(option->desc, c.desc);
        EXPECT_EQ(option->type, c.type) << c.name;
        EXPECT_EQ(option->unit, c.unit) << c.name;
        EXPECT_EQ(option->size, 4) << c.name;
        EXPECT_EQ(option->cap, 21) << c.name;
        EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_NONE) << c.name;
    }
    EXPECT_EQ(descriptor(6), nullptr);
}

TEST_F(well_known_options, are_numbered_in_the_order_of_the_drivers_options)
{
    add_page(1);
    add_paper(3);
    scripted::set_option(2, "other", R"({"type":"int","size":4})");
    open_device();
    EXPECT_STREQ(descriptor(4)->name, "duplex");
    EXPECT_STREQ(descriptor(5)->name, "page-width");
    EXPECT_STREQ(descriptor(6)->name, "page-height");
    EXPECT_EQ(descriptor(7), nullptr);
}

TEST_F(well_known_options, need_their_driver_options)
{
    add_page(1);
    open_device();
    EXPECT_STREQ(descriptor(2)->name, "duplex");
    EXPECT_EQ(descriptor(3), nullptr);
    sane_pelsane_exit();
    scripted::reset();
    add_paper(1);
    open_device();
    EXPECT_STREQ(descriptor(2)->name, "page-width");
    EXPECT_STREQ(descriptor(3)->name, "page-height");
    EXPECT_EQ(descriptor(4), nullptr);
}

TEST_F(well_known_options, come_once)
{
    add_paper(1);
    add_paper(2);
    add_page(3);
    add_page(4);
    open_device();
    EXPECT_STREQ(descriptor(5)->name, "page-width");
    EXPECT_STREQ(descriptor(6)->name, "page-height");
    EXPECT_STREQ(descriptor(7)->name, "duplex");
    EXPECT_EQ(descriptor(8), nullptr);
}

TEST_F(well_known_options, are_not_for_frontends_that_listen)
{
    add_paper();
    add_page();
    open_listening_device();
    for (const SANE_Int number : {3, 4, 5})
        EXPECT_EQ(descriptor(number), nullptr) << number;
    SANE_Word word = 210;
    EXPECT_EQ(control(3, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_UNSUPPORTED);
}

TEST_F(well_known_options, are_not_counted)
{
    open_both();
    SANE_Word count = 0;
    EXPECT_EQ(control(0, SANE_ACTION_GET_VALUE, &count), SANE_STATUS_GOOD);
    EXPECT_EQ(count, 3);
}

TEST_F(well_known_options, are_not_found_by_name)
{
    open_both();
    EXPECT_EQ(descriptor("page-width"), nullptr);
}

// ----- page size -----

TEST_F(well_known_options, a_page_size_chooses_the_nearest_paper)
{
    struct {
        SANE_Word width, height;
        const char *paper;
    } const cases[] = {
        {297, 420, "A3"},
        {297, 210, "A4横向"},
        {257, 364, "B4"},
        {250, 176, "B5横向"},
        {210, 297, "A4"},
        {210, 285, "16开"},
        {210, 148, "A5横向"},
        {176, 250, "B5"},
        {176, 125, "B6横向"},
        {148, 210, "A5"},
        {148, 105, "A6横向"},
        {125, 176, "B6"},
        {105, 148, "A6"},
        {210, 290, "16开"},
        {210, 291, "A4"},
        {215, 279, "16开"},
        {300, 425, "A3"},
        {500, 500, "匹配原始尺寸"},
        {0, 0, "A6横向"},
        {420, 0, "匹配原始尺寸"},
        {-1, -1, "A6横向"},
        {1, 1, "A6横向"},
        {INT_MAX, INT_MAX, "匹配原始尺寸"},
        {INT_MIN, INT_MIN, "匹配原始尺寸"},
        {INT_MIN, INT_MAX, "匹配原始尺寸"},
    };
    open_both();
    for (const auto &c : cases) {
        sent(width, c.width);
        EXPECT_EQ(sent(height, c.height), c.paper) << c.width << " x " << c.height;
    }
}

TEST_F(well_known_options, a_paper_must_lie_less_than_204_mm_away)
{
    open_both();
    sent(width, 297);
    EXPECT_EQ(sent(height, 420 + 203), "A3");           // 41209
    EXPECT_EQ(sent(height, 420 + 204), "匹配原始尺寸"); // 41616
}

TEST_F(well_known_options, a_paper_at_the_bound_itself_does_not_match)
{
    open_both();
    // 41600 = 40 * 40 + 200 * 200 from A3, the nearest paper
    sent(width, 297 + 40);
    EXPECT_EQ(sent(height, 420 + 200), "匹配原始尺寸");
    sent(width, 297 + 39);
    EXPECT_EQ(sent(height, 420 + 200), "A3");
}

TEST_F(well_known_options, of_equally_near_papers_the_earlier_one_is_chosen)
{
    struct {
        SANE_Word width, height;
        const char *paper;
    } const cases[] = {
        {297, 420, "A3"},     // and 8开
        {105, 105, "A6横向"}, // and A6
        {101, 172, "B6"},     // and A6
        {102, 272, "B5"},     // and A5
    };
    open_both();
    for (const auto &c : cases) {
        sent(width, c.width);
        EXPECT_EQ(sent(height, c.height), c.paper) << c.width << " x " << c.height;
    }
}

// A millimetre more or less in any width or height of the table chooses another paper for one of these.
TEST_F(well_known_options, a_page_size_at_a_border_between_papers_tells_their_sizes_to_the_millimetre)
{
    struct {
        SANE_Word width, height;
        const char *paper;
    } const cases[] = {
        {384, 315, "B4"},     {201, 446, "B4"},    {243, 235, "B5横向"}, {388, 31, "B5横向"}, {33, 391, "A4"},
        {231, 231, "16开"},   {80, 288, "B5"},     {105, 337, "B5"},     {60, 245, "A5"},     {26, 228, "B6"},
        {170, 170, "B6横向"}, {256, 43, "B6横向"}, {142, 142, "A6横向"}, {198, 64, "A6横向"},
    };
    open_both();
    for (const auto &c : cases) {
        sent(width, c.width);
        EXPECT_EQ(sent(height, c.height), c.paper) << c.width << " x " << c.height;
    }
}

TEST_F(well_known_options, the_other_dimension_is_the_one_set_last)
{
    open_both();
    EXPECT_EQ(sent(width, 297), "A5横向"); // the height is still 0
    EXPECT_EQ(sent(height, 420), "A3");
    EXPECT_EQ(sent(width, 210), "B4");
}

TEST_F(well_known_options, dimensions_outlive_a_reload)
{
    open_both();
    sent(width, 297);
    scripted::change_language();
    EXPECT_EQ(sent(height, 420), "A3");
}

TEST_F(well_known_options, every_device_has_dimensions_of_its_own)
{
    open_both();
    sent(width, 297);
    SANE_Handle second = nullptr;
    ASSERT_EQ(sane_pelsane_open("virtual:1", &second), SANE_STATUS_GOOD);
    handle_ = second;
    EXPECT_EQ(sent(height, 210), "A6"); // 0 x 210
}

TEST_F(well_known_options, a_set_is_logged_step_by_step)
{
    open_both();
    SANE_Word word = 297;
    SANE_Int info = 77;
    EXPECT_EQ(control(width, SANE_ACTION_SET_VALUE, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 297);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(
        scripted::record(),
        (texts{"kx_scanner_get_status(0x100000002,0)",
               "Debug: $First 4-bytes of origin value for option 3 is: 29010000", "from_default_language(A5横向,null)",
               "Debug: match paper(297 * 0) to 'A5横向'", "Debug: 3->1: A5横向",
               "kx_scanner_set_parameter(0x100000002,1,\"A5横向\",44)", "Info: -->Set option(3 - ) value: 297"}));
}

TEST_F(well_known_options, negative_sizes_are_logged_unsigned)
{
    open_both();
    set_word(width, -1);
    EXPECT_EQ(times_logged("Debug: match paper(4294967295 * 0) to 'A6'"), 1);
    EXPECT_EQ(times_logged("Debug: $First 4-bytes of origin value for option 3 is: FFFFFFFF"), 1);
}

TEST_F(well_known_options, paper_names_go_in_the_users_language)
{
    scripted::set_translation("A4", "DIN A4");
    scripted::set_translation("匹配原始尺寸", "as scanned");
    open_both();
    sent(width, 210);
    EXPECT_EQ(sent(height, 297), "DIN A4");
    EXPECT_EQ(sent(height, 2970), "as scanned");
}

TEST_F(well_known_options, a_language_library_without_an_answer_leaves_the_word)
{
    scripted::set_translation("A4", std::nullopt);
    open_both();
    sent(width, 210);
    EXPECT_EQ(sent(height, 297), "A4");
}

TEST_F(well_known_options, the_length_told_is_the_driver_options_size)
{
    open_both();
    set_word(width, 210);
    EXPECT_EQ(scripted::writes().at(0).length, 44);
    set_word(duplex, 1);
    EXPECT_EQ(scripted::writes().at(1).length, 20);
}

TEST_F(well_known_options, a_word_longer_than_the_size_is_sent_whole)
{
    struct {
        int size;
        long length;
    } const cases[] = {{0, 9}, {7, 9}, {8, 8}, {9, 9}, {10, 10}};
    for (const auto &c : cases) {
        scripted::set_option(1, "paper", R"({"type":"string","size":)" + std::to_string(c.size) + "}");
        open_device();
        SANE_Word word = 297;
        EXPECT_EQ(control(2, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD) << c.size;
        const auto write = scripted::writes().back();
        EXPECT_EQ(std::string(write.data.begin(), write.data.end()), "A5横向") << c.size;
        EXPECT_EQ(write.length, c.length) << c.size;
        sane_pelsane_exit();
    }
}

TEST_F(well_known_options, a_huge_size_does_no_harm)
{
    scripted::set_option(1, "paper", R"({"type":"string","size":2147483647})");
    scripted::set_option(2, "other", R"({"type":"int","size":4,"cur":5})");
    open_device();
    SANE_Word word = 297;
    control(3, SANE_ACTION_SET_VALUE, &word);
    EXPECT_EQ(control(2, SANE_ACTION_GET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 5);
}

TEST_F(well_known_options, a_page_size_that_the_driver_adjusts_stays_in_the_buffer)
{
    open_both();
    scripted::answer_write("paper", 261, scripted::bytes{'A', '3', 0});
    SANE_Word word = 210;
    SANE_Int info = 77;
    EXPECT_EQ(control(width, SANE_ACTION_SET_VALUE, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 210);
    EXPECT_EQ(info, SANE_INFO_INEXACT);
}

// ----- duplex -----

TEST_F(well_known_options, duplex_chooses_the_sides)
{
    open_both();
    EXPECT_EQ(sent(duplex, 0), "单面");
    EXPECT_EQ(sent(duplex, 1), "双面");
    EXPECT_EQ(sent(duplex, 2), "单面");
    EXPECT_EQ(sent(duplex, -1), "单面");
    scripted::set_translation("单面", "one side");
    scripted::set_translation("双面", "two sides");
    EXPECT_EQ(sent(duplex, 0), "one side");
    EXPECT_EQ(sent(duplex, 1), "two sides");
}

TEST_F(well_known_options, setting_duplex_is_logged_step_by_step)
{
    open_both();
    SANE_Word word = 1;
    EXPECT_EQ(control(duplex, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::record(),
              (texts{"kx_scanner_get_status(0x100000002,0)",
                     "Debug: $First 4-bytes of origin value for option 5 is: 01000000",
                     "from_default_language(双面,null)", "Debug: 5->2: 双面",
                     "kx_scanner_set_parameter(0x100000002,2,\"双面\",20)", "Info: -->Set option(5 - ) value: true"}));
}

TEST_F(well_known_options, duplex_that_the_driver_adjusts_is_written_back)
{
    open_both();
    const std::string one_side = "单面";
    scripted::bytes rewritten(one_side.begin(), one_side.end());
    rewritten.push_back(0);
    scripted::answer_write("page", 261, rewritten);
    SANE_Word word = 1;
    SANE_Int info = 77;
    EXPECT_EQ(control(duplex, SANE_ACTION_SET_VALUE, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 0);
    EXPECT_EQ(info, SANE_INFO_INEXACT);
    EXPECT_EQ(times_logged("Info: -->Set option(5 - ) value: true(Applied: false)"), 1);
    scripted::answer_write("page", 261, scripted::bytes{'x', 0});
    word = 0;
    EXPECT_EQ(control(duplex, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 1); // every other text counts as two-sided
}

// ----- results, automatic, reading -----

TEST_F(well_known_options, the_drivers_refusal_comes_back)
{
    open_both();
    const std::pair<int, int> answers[] = {{256, 4}, {259, 11}, {269, 9}, {0xDE02, 3}, {999, 999}};
    for (const auto &[code, status] : answers) {
        scripted::answer("kx_scanner_set_parameter", code, 1);
        SANE_Int info = 77;
        EXPECT_EQ(set_word(width, 210, &info), status) << code;
        EXPECT_EQ(info, 0) << code;
    }
}

TEST_F(well_known_options, a_change_of_other_options_reloads_the_table)
{
    open_both();
    const std::pair<int, SANE_Int> answers[] = {{262, 2}, {277, 4}, {278, 6}};
    const auto *option = descriptor(width);
    for (const auto &[code, flags] : answers) {
        scripted::forget_record();
        scripted::answer("kx_scanner_set_parameter", code, 1);
        SANE_Int info = 77;
        EXPECT_EQ(set_word(width, 210, &info), SANE_STATUS_GOOD) << code;
        EXPECT_EQ(info, flags) << code;
        EXPECT_EQ(scripted::calls_of("kx_scanner_get_parameter").empty(), code == 277) << code;
    }
    EXPECT_EQ(
        times_logged("Debug: the setting '' affects image parameter and options, APP should re-get image info and "
                     "reload options..."),
        1);
    EXPECT_EQ(descriptor(width), option);
    EXPECT_EQ(sent(height, 297), "A4");
}

TEST_F(well_known_options, automatic_sets_their_defaults)
{
    open_both();
    for (const SANE_Int number : {width, height, duplex})
        EXPECT_EQ(control(number, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD) << number;
    const auto writes = scripted::writes();
    ASSERT_EQ(writes.size(), 3U);
    const auto text = [&](std::size_t i) { return std::string(writes[i].data.begin(), writes[i].data.end()); };
    EXPECT_EQ(text(0), "A6横向"); // 210 x 0 lies 105 + 62 away
    EXPECT_EQ(text(1), "A4");
    EXPECT_EQ(text(2), "双面");
}

TEST_F(well_known_options, automatic_uses_a_value_that_is_given)
{
    open_both();
    SANE_Word word = 0;
    EXPECT_EQ(control(duplex, SANE_ACTION_SET_AUTO, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::writes().size(), 1U);
    EXPECT_EQ(scripted::calls_of("kx_scanner_set_parameter"),
              (texts{"kx_scanner_set_parameter(0x100000002,2,\"单面\",20)"}));
}

TEST_F(well_known_options, a_set_needs_a_value)
{
    open_both();
    for (const SANE_Int number : {width, height, duplex}) {
        EXPECT_EQ(control(number, SANE_ACTION_SET_VALUE, nullptr), SANE_STATUS_INVAL) << number;
        EXPECT_EQ(times_logged("Warn: Option descriptor " + std::to_string(number) + "() need a value!."), 1);
    }
    EXPECT_TRUE(scripted::writes().empty());
}

TEST_F(well_known_options, reading_them_asks_the_driver_in_vain)
{
    open_both();
    for (const SANE_Int number : {width, height, duplex}) {
        SANE_Word word = 99;
        SANE_Int info = 77;
        EXPECT_EQ(control(number, SANE_ACTION_GET_VALUE, &word, &info), SANE_STATUS_IO_ERROR) << number;
        EXPECT_EQ(word, 99) << number;
        EXPECT_EQ(info, 0) << number;
        EXPECT_EQ(control(number, 100, &word), SANE_STATUS_UNSUPPORTED) << number;
        EXPECT_EQ(control(number, 101, &word), SANE_STATUS_UNSUPPORTED) << number;
        EXPECT_EQ(word, 99) << number;
    }
}

// ----- reload -----

TEST_F(well_known_options, keep_number_and_address_across_reloads)
{
    open_both();
    const SANE_Option_Descriptor *before[] = {descriptor(width), descriptor(height), descriptor(duplex)};
    for (int i = 0; i < 3; ++i)
        scripted::change_language();
    EXPECT_EQ(descriptor(width), before[0]);
    EXPECT_EQ(descriptor(height), before[1]);
    EXPECT_EQ(descriptor(duplex), before[2]);
    EXPECT_STREQ(before[0]->name, "page-width");
}

TEST_F(well_known_options, go_and_come_with_their_driver_options)
{
    open_both();
    const auto *page_width = descriptor(width);
    scripted::remove_option(1);
    scripted::change_language();
    EXPECT_STREQ(descriptor(3)->name, "duplex");
    EXPECT_EQ(descriptor(4), nullptr);
    EXPECT_STREQ(page_width->title, "Page Width"); // an application may still hold it
    add_paper();
    scripted::change_language();
    EXPECT_EQ(descriptor(3), page_width);
    EXPECT_STREQ(page_width->name, "page-width");
}

TEST_F(well_known_options, follow_the_driver_options_new_size)
{
    open_both();
    scripted::set_option(1, "paper", R"({"type":"string","size":100})");
    scripted::change_language();
    set_word(width, 210);
    EXPECT_EQ(scripted::writes().back().length, 100);
}

TEST_F(well_known_options, follow_the_driver_options_new_number)
{
    open_both();
    add_page(1);
    add_paper(2);
    scripted::change_language();
    EXPECT_STREQ(descriptor(3)->name, "duplex");
    SANE_Word word = 1;
    EXPECT_EQ(control(3, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::calls_of("kx_scanner_set_parameter"),
              (texts{"kx_scanner_set_parameter(0x100000002,1,\"双面\",20)"}));
}
