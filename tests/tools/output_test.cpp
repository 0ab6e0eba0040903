// SPDX-License-Identifier: MIT
// Texts of devices on a terminal.
#include "output.h"
#include "text_table.h"

#include <gtest/gtest.h>

#include <clocale>

namespace {

class output : public testing::Test {
protected:
    output() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
};

TEST_F(output, leaves_text_as_it_is)
{
    EXPECT_EQ(inspect::printable("Größe, 双面"), "Größe, 双面");
    EXPECT_EQ(inspect::printable(""), "");
}

TEST_F(output, replaces_what_a_terminal_would_obey)
{
    EXPECT_EQ(inspect::printable("a\x1b[31m\nb\x7f"), "a [31m b ");
    EXPECT_EQ(inspect::printable(std::string_view("a\0b", 3)), "a b");
}

TEST_F(output, replaces_what_is_no_text)
{
    EXPECT_EQ(inspect::printable("a\xff\xe5\x8f"), "a???");
}

TEST_F(output, escapes_in_json_what_a_terminal_would_obey)
{
    EXPECT_EQ(inspect::json_text("Größe, 双面, \xc2\xa0"), "\"Größe, 双面, \xc2\xa0\"");
    EXPECT_EQ(inspect::json_text("a\x1b[31m\n\x7f\xc2\x9b"
                                 "1m"),
              R"("a\u001b[31m\n\u007f\u009b1m")");
    EXPECT_EQ(inspect::json_text("a\xff"), "\"a\xef\xbf\xbd\"");
    EXPECT_EQ(inspect::json_text({{"key", "\xe5\x8f"}}, 1), "{\n \"key\": \"\xef\xbf\xbd\"\n}");
}

TEST_F(output, counts_columns_of_a_terminal)
{
    EXPECT_EQ(inspect::columns_of("Größe"), 5u);
    EXPECT_EQ(inspect::columns_of("双面"), 4u);
    EXPECT_EQ(inspect::columns_of("\xff"), 1u);
}

TEST_F(output, aligns_columns_of_any_script)
{
    inspect::text_table table({"Name", "Value"});
    table.add_title("a heading that is wider than its columns");
    table.add_row({"双面扫描", "1"});
    table.add_row({"a", ""});
    EXPECT_EQ(table.text(), "Name      Value\n"
                            "a heading that is wider than its columns\n"
                            "双面扫描  1\n"
                            "a\n");
}

} // namespace
