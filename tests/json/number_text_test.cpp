// SPDX-License-Identifier: MIT
// Numbers and texts, also while the application runs under a locale with decimal commas.
#include "foreign_locale.h"
#include "json.h"
#include "number_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <string>

namespace {

class number_text_de : public testing::Test {
protected:
    void SetUp() override { locale_.install(); }

    foreign_locale locale_{"de_DE"};
};

void expect_number_texts()
{
    struct {
        double number;
        const char *text;
    } const cases[] = {
        {0, "0.000000"},
        {-0.0, "-0.000000"},
        {300, "300.000000"},
        {1.5, "1.500000"},
        {-2.25, "-2.250000"},
        {0.0000004, "0.000000"},
        {0.0000006, "0.000001"},
        {1234567.125, "1234567.125000"},
        {0.0000005, "0.000000"},
        {2.0000015, "2.000002"},
        {1e15, "1000000000000000.000000"},
        {1.0 / 3, "0.333333"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(number_to_text(c.number), c.text);
}

void expect_text_numbers()
{
    struct {
        const char *text;
        double number;
    } const cases[] = {
        {"", 0},        {"abc", 0}, {"12", 12},          {"12.5", 12.5}, {"-3.25", -3.25}, {"+4", 4},
        {" \t\n 7", 7}, {"7 8", 7}, {"1.5mm", 1.5},      {".5", 0.5},    {"5.", 5},        {"1e3", 1000},
        {"0x10", 16},   {"1,5", 1}, {"300.000000", 300}, {"--1", 0},     {"1.2.3", 1.2},
    };
    for (const auto &c : cases)
        EXPECT_EQ(text_to_number(c.text), c.number) << '"' << c.text << '"';
}

} // namespace

TEST(number_text, prints_six_decimals)
{
    expect_number_texts();
}

TEST(number_text, reads_the_longest_numeric_prefix)
{
    expect_text_numbers();
}

TEST(number_text, prints_the_largest_numbers_in_full)
{
    const std::string text = number_to_text(-std::numeric_limits<double>::max());
    EXPECT_EQ(text.size(), 317U); // sign, 309 digits, '.', six decimals
    EXPECT_EQ(text.substr(0, 18), "-17976931348623157");
    EXPECT_EQ(text.substr(310), ".000000");
}

TEST(number_text, prints_what_is_no_number_like_printf)
{
    EXPECT_EQ(number_to_text(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(number_to_text(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(number_to_text(std::nan("")), "nan");
}

TEST(number_text, reads_words_for_infinity_and_nan)
{
    EXPECT_TRUE(std::isinf(text_to_number("inf")));
    EXPECT_TRUE(std::isnan(text_to_number("nan")));
}

TEST_F(number_text_de, prints_a_point_under_a_comma_locale)
{
    expect_number_texts();
}

TEST_F(number_text_de, reads_a_point_under_a_comma_locale)
{
    expect_text_numbers();
}

TEST_F(number_text_de, documents_keep_their_points_under_a_comma_locale)
{
    json document(R"({"a":2.5,"l":[0.5]})");
    double real = 0;
    std::string text;
    EXPECT_TRUE(document.get_value("a", real));
    EXPECT_EQ(real, 2.5);
    EXPECT_TRUE(document.get_value_as_string("a", text, false));
    EXPECT_EQ(text, "2.500000");
    EXPECT_EQ(json::to_string(document.find("l")), "[0.5]");
    const auto part = document.get_document("l");
    ASSERT_NE(part, nullptr);
    EXPECT_TRUE(part->first_child(text));
    EXPECT_EQ(text, "0.500000");
}

TEST_F(number_text_de, the_hosts_locale_stays_as_it_is)
{
    EXPECT_EQ(number_to_text(1.5), "1.500000");
    EXPECT_EQ(text_to_number("1.5"), 1.5);
    EXPECT_EQ(json(R"({"a":2.5})").to_string(), "{\n\t\"a\":\t2.5\n}");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8");
    EXPECT_STREQ(localeconv()->decimal_point, ",");
}
