// SPDX-License-Identifier: MIT
// Documents under ps_AF, whose decimal point is two bytes: what the parser takes, what numbers are, what is printed.
#include "foreign_locale.h"
#include "json.h"
#include "radix_character.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

class locale_document : public testing::Test {
protected:
    void SetUp() override { locale_.install(); }

    static double number(const std::string &text)
    {
        const json document(text.c_str());
        double value = std::nan("");
        document.value(value);
        return value;
    }

    foreign_locale locale_{"ps_AF"};
};

} // namespace

TEST_F(locale_document, numbers_are_the_same_doubles_as_in_any_locale)
{
    const std::pair<const char *, double> cases[] = {
        {"0.5", 0.5},
        {"-0.5", -0.5},
        {"1.0", 1},
        {"1.", 1},
        {"300", 300},
        {"599.9999999999999", 599.9999999999999},
        {"0.1", 0.1},
        {"1.5e300", 1.5e300},
        {"1.5E-7", 1.5e-7},
        {"1.5e+2", 150},
        {"4.9406564584124654e-324", 4.9406564584124654e-324},
        {"1.7976931348623157e308", 1.7976931348623157e308},
        {"1.5e999", HUGE_VAL},
        {"-1.5e999", -HUGE_VAL},
        {"12345678901234567890.5", 12345678901234567890.5},
    };
    for (const auto &[text, value] : cases)
        EXPECT_EQ(number(text), value) << text;
    EXPECT_TRUE(std::signbit(number("-0.0")));
}

TEST_F(locale_document, strings_keep_their_points)
{
    json document(R"({"1.5":"2.5","q":"\"0.5","e":"\\","n":[0.5,"0.5"]})");
    std::string text;
    EXPECT_TRUE(document.get_value("1.5", text));
    EXPECT_EQ(text, "2.5");
    EXPECT_TRUE(document.get_value("q", text));
    EXPECT_EQ(text, "\"0.5");
    EXPECT_TRUE(document.get_value("e", text));
    EXPECT_EQ(text, "\\");
    EXPECT_EQ(json::to_string(document.find("n")), "[0.5, \"0.5\"]");
}

TEST_F(locale_document, what_does_not_parse_elsewhere_does_not_parse_here)
{
    for (const char *text :
         {"[1.2.3]", "-.", "-", ".5", "[0.5", "\"0.5", "{\"a\":0.5", "[1.5-2]", "[1.5 2]", "\\", "\"\\"})
        EXPECT_FALSE(json().attach_text(text)) << text;
}

TEST_F(locale_document, prints_points_and_keeps_the_bytes_of_strings)
{
    const char *const point = "\u066B";
    const json document((std::string(R"({"a":-2.25,"b":")") + point + "." + (point + 1) + "\"}").c_str());
    EXPECT_EQ(document.to_string(),
              std::string("{\n\t\"a\":\t-2.25,\n\t\"b\":\t\"") + point + "." + (point + 1) + "\"\n}");
    std::vector<std::string> elements;
    EXPECT_TRUE(json(R"({"a":[[0.5]]})").get_as_array("a", elements));
    EXPECT_EQ(elements, std::vector<std::string>{"[0.5]"});
}

TEST_F(locale_document, copies_and_parts_are_what_the_document_is)
{
    json document(R"({"range":{"min":0.5,"max":599.9999999999999}})");
    const auto copy = document.get_document("range");
    ASSERT_NE(copy, nullptr);
    double value = 0;
    EXPECT_TRUE(copy->get_value("min", value));
    EXPECT_EQ(value, 0.5);
    EXPECT_TRUE(copy->get_value("max", value));
    EXPECT_EQ(value, 600);
    EXPECT_TRUE(document.part("range").get_value("max", value));
    EXPECT_EQ(value, 600);
}

TEST_F(locale_document, is_where_the_locale_has_a_long_point)
{
    EXPECT_TRUE(is_radix_character_long());
    std::setlocale(LC_ALL, "C");
    EXPECT_FALSE(is_radix_character_long());
}
