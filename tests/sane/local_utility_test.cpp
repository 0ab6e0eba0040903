// SPDX-License-Identifier: MIT
// The small scanners, word ids and words of the language library, the driver's information items.
#include "local_utility.h"
#include "scripted.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

class word_ids : public testing::Test {
protected:
    void SetUp() override { scripted::reset(); }
};

} // namespace

// ----- characters -----

TEST(small_scanners, space_is_blank_and_tab_only)
{
    for (int c = 0; c < 256; ++c)
        EXPECT_EQ(local_utility::is_space(static_cast<char>(c)), c == ' ' || c == '\t') << c;
}

TEST(small_scanners, digits_are_0_to_9)
{
    constexpr std::string_view digits = "0123456789";
    for (int c = 1; c < 256; ++c)
        EXPECT_EQ(local_utility::is_digital(static_cast<char>(c)), digits.find(static_cast<char>(c)) != digits.npos)
            << c;
    EXPECT_FALSE(local_utility::is_digital('\0'));
}

TEST(small_scanners, hexadecimal_digits_have_either_case)
{
    constexpr std::string_view digits = "0123456789abcdefABCDEF";
    for (int c = 1; c < 256; ++c)
        EXPECT_EQ(local_utility::is_hex_num(static_cast<char>(c)), digits.find(static_cast<char>(c)) != digits.npos)
            << c;
    EXPECT_FALSE(local_utility::is_hex_num('\0'));
}

TEST(small_scanners, to_num_reads_one_digit)
{
    struct {
        char c;
        bool hex;
        int value; // -1: none
    } const cases[] = {
        {'0', false, 0},  {'9', false, 9},  {'a', false, -1}, {'F', false, -1}, {'0', true, 0},   {'9', true, 9},
        {'a', true, 10},  {'f', true, 15},  {'A', true, 10},  {'F', true, 15},  {'g', true, -1},  {'G', true, -1},
        {'/', false, -1}, {':', false, -1}, {'@', true, -1},  {'`', true, -1},  {'-', false, -1}, {'\0', true, -1},
    };
    for (const auto &c : cases) {
        int value = 77;
        EXPECT_EQ(local_utility::to_num(c.c, value, c.hex), c.value != -1) << c.c;
        EXPECT_EQ(value, c.value != -1 ? c.value : 77) << c.c;
    }
}

// ----- runs -----

TEST(small_scanners, skip_space_stops_at_other_characters)
{
    struct {
        const char *text, *rest;
        bool moved;
    } const cases[] = {
        {"", "", false},       {"x", "x", false}, {" x", "x", true},       {"\t \tx ", "x ", true},
        {"\nx", "\nx", false}, {"  ", "", true},  {" \n x", "\n x", true}, {"\rx", "\rx", false},
    };
    for (const auto &c : cases) {
        const char *p = c.text;
        EXPECT_EQ(local_utility::skip_space(p), c.moved) << '"' << c.text << '"';
        EXPECT_STREQ(p, c.rest);
    }
}

TEST(small_scanners, get_limit_reads_two_texts)
{
    struct {
        const char *text, *l, *r;
    } const cases[] = {
        {"[100,600]", "100", "600"},
        {"[ \t100,600]", "100", "600"},
        {"[100 , 600 ]", "100 ", " 600 "},
        {"[100,600] and more", "100", "600"},
        {"[a,b,c]", "a", "b,c"},
        {"[,]", "", ""},
        {"[1,2]3]", "1", "2"},
    };
    for (const auto &c : cases) {
        const char *p = c.text;
        std::string l, r;
        EXPECT_TRUE(local_utility::get_limit(p, l, r)) << c.text;
        EXPECT_EQ(l, c.l) << c.text;
        EXPECT_EQ(r, c.r) << c.text;
    }
}

TEST(small_scanners, get_limit_refuses_what_is_no_range)
{
    for (const char *text : {"", "[", "[1,2", "[12]", "[]", "[12],", "1,2]", " [1,2]"}) {
        const char *p = text;
        std::string l, r;
        EXPECT_FALSE(local_utility::get_limit(p, l, r)) << '"' << text << '"';
    }
}

// ----- numbers -----

TEST(small_scanners, get_number_reads_digits_or_a_fraction)
{
    // the first digit of a fraction is worth 0.1 in single precision, each further one that much of the one before
    struct {
        const char *text;
        double value;
        const char *rest;
    } const cases[] = {
        {"0", 0, ""},
        {"12", 12, ""},
        {"007", 7, ""},
        {"12mm", 12, "mm"},
        {"12.5", 12, ".5"},
        {"1.2.3", 1, ".2.3"},
        {"-7", 7, ""},
        {"5-", 5, "-"},
        {"3000000000", 3000000000.0, ""},
        {".5", 0.50000000745058060, ""},
        {"-.5", 0.50000000745058060, ""},
        {".5x", 0.50000000745058060, "x"},
        {".25", 0.25000000447034836, ""},
        {".5a", 0.50000000745058060, "a"}, // no hexadecimal digit
        {"5a", 5, "a"},
        {".x", 0, "x"},
        {". ", 0, " "},
    };
    for (const auto &c : cases) {
        const char *p = c.text;
        double value = 99;
        EXPECT_TRUE(local_utility::get_number(p, value)) << c.text;
        EXPECT_NEAR(value, c.value, 1e-12) << c.text;
        EXPECT_STREQ(p, c.rest) << c.text;
    }
}

TEST(small_scanners, get_number_refuses_what_holds_no_number)
{
    for (const char *text : {"", "-", ".", "-.", "x", "-x", "--5", " 5", "+5", "-\t5"}) {
        const char *p = text;
        double value = 99;
        EXPECT_FALSE(local_utility::get_number(p, value)) << '"' << text << '"';
        EXPECT_EQ(value, 0) << '"' << text << '"';
    }
}

TEST(small_scanners, get_number_refuses_a_second_point_after_a_fraction)
{
    const char *p = ".5.5";
    double value = 99;
    EXPECT_FALSE(local_utility::get_number(p, value));
}

// ----- word ids -----

TEST_F(word_ids, are_integers_with_a_point_and_zeros)
{
    scripted::set_translation(15, "fifteen");
    scripted::set_translation(12, "twelve");
    scripted::set_translation(-3, "minus three");
    scripted::set_translation(0, "zero");
    scripted::set_translation(2147483647, "most");
    struct {
        const char *text, *translated;
    } const cases[] = {
        {"15.000000", "fifteen"}, {"12.000000", "twelve"}, {"-3.0", "minus three"},
        {"15.", "fifteen"},       {"0.0", "zero"},         {"2147483647.0", "most"},
    };
    for (const auto &c : cases) {
        std::string text = c.text;
        local_utility::trans_language_if_was_word_id(text);
        EXPECT_EQ(text, c.translated) << c.text;
    }
}

TEST_F(word_ids, anything_else_stays_as_it_is)
{
    for (const char *text :
         {"",     "12",    "12.5", "12.05",  "12.0a",        "015.0",         "+15.0",        " 15.0",
          ".0",   ".",     "-.0",  "15.0 ",  "2147483648.0", "-2147483649.0", "4294967311.0", "99999999999999999999.0",
          "A4.0", "1.2.0", "-0.0", "0x10.0", "1e3.0"}) {
        std::string kept = text;
        local_utility::trans_language_if_was_word_id(kept);
        EXPECT_EQ(kept, text);
    }
    EXPECT_TRUE(scripted::calls().empty());
}

TEST_F(word_ids, are_looked_up_without_a_status)
{
    std::string text = "15.000000";
    local_utility::trans_language_if_was_word_id(text);
    EXPECT_EQ(scripted::calls(), (std::vector<std::string>{"lang_load_string(15,null,0)"}));
}

TEST_F(word_ids, survive_a_library_without_an_answer)
{
    scripted::set_translation(15, std::nullopt);
    std::string text = "15.000000";
    local_utility::trans_language_if_was_word_id(text);
    EXPECT_TRUE(text.empty() || text == "15.000000") << text;
}

TEST_F(word_ids, default_language_words_are_translated)
{
    scripted::set_translation("双面", "two sides");
    EXPECT_EQ(local_utility::translated_word("双面"), "two sides");
    EXPECT_EQ(local_utility::translated_word("unheard of"), "unheard of");
    scripted::set_translation("单面", std::nullopt);
    EXPECT_EQ(local_utility::translated_word("单面"), "单面");
}

// ----- fields -----

TEST(bounded_text, ends_at_the_terminator_or_the_field)
{
    EXPECT_EQ(local_utility::bounded_text("abc\0def", 7), "abc");
    EXPECT_EQ(local_utility::bounded_text("abcdef", 3), "abc");
    EXPECT_EQ(local_utility::bounded_text("\0abc", 4), "");
}

// ----- information items -----

TEST(information_items, have_names_and_lengths)
{
    struct {
        int id;
        const char *name;
        int length;
    } const items[] = {
        {34889, "total-cnt", 4},
        {34890, "drv-ver", 255},
        {34891, "company", 255},
        {34892, "copyright", 255},
        {34893, "co-url", 255},
        {34894, "co-tel", 255},
        {34895, "co-addr", 255},
        {34896, "co-gps", 255},
        {34897, "help", 4},
        {34898, "dev-vid", 4},
        {34899, "dev-pid", 4},
        {34900, "dev-name", 255},
        {34901, "dev-model", 255},
        {34902, "dev-sn", 255},
        {34903, "fmw-ver", 255},
        {34904, "ip-addr", 255},
        {34905, "mac-addr", 255},
        {34906, "custom-gamma", 1312},
        {34907, "roller-life", 4},
        {34909, "motor-ver", 255},
        {34910, "trans-img-fmt", 80},
        {34911, "free-buf", 8},
        {34918, "initial-boot-time", 255},
        {34925, "json-device-type", 255},
        {34926, "button-count", 4},
        {34927, "original-image", 1},
        {34928, "upload-file", 255},
        {0x9900, "login", 255},
        {0x9901, "logout", 255},
        {0x9902, "roll-cnt", 4},
        {0x9903, "drv-log", 255},
        {0x9904, "devs-log", 255},
    };
    for (const auto &item : items) {
        int length = -5;
        EXPECT_EQ(local_utility::un_json_option_name(item.id, &length), item.name);
        EXPECT_EQ(length, item.length) << item.name;
        EXPECT_EQ(local_utility::un_json_option_name(item.id, nullptr), item.name);
    }
}

TEST(information_items, other_numbers_are_none)
{
    for (const int id : {-1, 0, 1, 34816, 34888, 0x885C, 0x8860, 0x8865, 0x8867, 0x886C, 34929, 39167, 39173, 65535}) {
        int length = -5;
        EXPECT_EQ(local_utility::un_json_option_name(id, &length), "") << id;
        EXPECT_EQ(length, -5) << id;
    }
}
