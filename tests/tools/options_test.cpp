// SPDX-License-Identifier: MIT
// The table of a scanner's options, and the same for scripts.
#include "failure.h"
#include "inspect.h"
#include "option.h"
#include "scanimage.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sane/sane.h>

#include <string>
#include <vector>

namespace inspect_test {
namespace {

using nlohmann::json;

class options : public inspect_program {
protected:
    [[nodiscard]] json option_in_json(const arguments &words, const std::string &name) const
    {
        arguments all{"options", "--json"};
        all.insert(all.end(), words.begin(), words.end());
        const json document = json::parse(inspect(all).output);
        for (const json &option : document["options"])
            if (option["name"] == name)
                return option;
        return nullptr;
    }
};

constexpr const char *table_of_small_scanner =
    R"(No.  Name           Id     Title             Type    Unit  Size  Access                 Active  Current     Default     Allowed
== Scan job (1, group-job)
2    page           34838  Sides             string  -     16    get,set,auto           yes     Front side  Front side  Front side|Both sides
3    paper          34831  Paper size        string  -     16    get,set,auto           yes     A6          A6          A4|A6
== Image (4, group-image)
5    mode           34819  Colour mode       string  -     16    get,set,auto           yes     Gray        Gray        Color|Gray|Lineart
6    resolution     34840  Resolution        int     dpi   4     get,set,auto           yes     75          75          75|150|300
7    is-photo-mode  34871  Photographs       bool    -     4     get,set,auto           yes     false       false       -
8    brightness     34846  Brightness        int     -     4     get,set                yes     0           0           -100..100 step 5
9    gamma          34848  Gamma             fixed   -     4     get,set,auto,advanced  yes     1.0         1.0         0.5..2.5 step 0.25
10   threshold      34851  Threshold         int     -     4     get,auto               no      128         128         0..255 step 1
11   clear-rollers  34960  Rollers replaced  button  -     0     get,set,auto,advanced  yes     -           -           -
== Added by the backend
12   duplex         -      Duplex            bool    -     4     get,set,auto           yes     -           -           -
13   page-width     -      Page Width        int     mm    4     get,set,auto           yes     -           -           -
14   page-height    -      Page Height       int     mm    4     get,set,auto           yes     -           -           -
)";

TEST_F(options, stand_in_a_table_under_their_groups)
{
    const outcome result = inspect({"options"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, table_of_small_scanner);
    EXPECT_EQ(result.messages, "");
}

TEST_F(options, have_no_step_where_every_value_is_allowed)
{
    use_small_scanner_with("\"step\": 0.25", "\"step\": 0.0");
    EXPECT_TRUE(system_test::contains(inspect({"options"}).output, "  0.5..2.5\n"));
}

TEST_F(options, are_shown_as_they_are_after_a_setting)
{
    const outcome result = inspect({"options", "test:small", "--set", "mode=Lineart", "--set", "is-photo-mode=on"});
    EXPECT_TRUE(system_test::contains(
        result.output, "10   threshold      34851  Threshold         int     -     4     get,auto               yes"));
    EXPECT_TRUE(
        system_test::contains(result.output, "get,set                yes     5           0           -100..100"));
}

TEST_F(options, have_all_their_fields_for_scripts)
{
    EXPECT_EQ(option_in_json({}, "gamma"), json::parse(R"({
        "number": 9, "name": "gamma", "id": 34848, "title": "Gamma",
        "description": "Above 1 lightens, below 1 darkens the middle tones", "group": "group-image",
        "type": "fixed", "unit": "none", "size": 4,
        "constraint": {"min": 0.5, "max": 2.5, "step": 0.25},
        "capabilities": ["soft-select", "soft-detect", "automatic", "advanced"],
        "active": true, "well-known": false, "current": 1.0, "default": 1.0})"));
    EXPECT_EQ(option_in_json({"--set", "page=Both sides"}, "page")["current"], "Both sides");
    EXPECT_EQ(option_in_json({}, "resolution")["constraint"], json::parse("[75, 150, 300]"));
    EXPECT_EQ(option_in_json({}, "threshold")["active"], false);
    EXPECT_EQ(option_in_json({}, "group-image")["type"], "group");
    EXPECT_EQ(option_in_json({}, "page-width")["well-known"], true);
}

TEST_F(options, speak_the_language_of_the_texts)
{
    set_variable("PELLANG", "zh");
    const json mode = option_in_json({}, "page");
    EXPECT_EQ(mode["current"], "单面");
    EXPECT_EQ(mode["constraint"], json::parse(R"(["单面", "双面"])"));
}

TEST_F(options, that_the_driver_describes_wrongly_are_left_out)
{
    set_variable("PELVIRTUAL_FAULTS", "garbage(brightness) as broken");
    EXPECT_TRUE(option_in_json({}, "brightness").is_null());
    EXPECT_EQ(option_in_json({}, "gamma")["number"], 9);
}

TEST(option_named, takes_a_name_before_a_number_before_an_identifier)
{
    const auto number_option = [](int number, const std::string &name, int fixed_id) {
        return inspect::option{number,         name, fixed_id, "",      "",      "",      SANE_TYPE_INT,
                               SANE_UNIT_NONE, 4,    0,        nullptr, nullptr, nullptr, false};
    };
    const std::vector<inspect::option> described{number_option(1, "first", 2), number_option(2, "second", 0),
                                                 number_option(3, "1", 34840)};
    EXPECT_EQ(inspect::option_named(described, "1").number, 3);
    EXPECT_EQ(inspect::option_named(described, "2").number, 2);
    EXPECT_EQ(inspect::option_named(described, "34840").number, 3);
    EXPECT_THROW(static_cast<void>(inspect::option_named(described, "0")), inspect::failure);
}

} // namespace
} // namespace inspect_test
