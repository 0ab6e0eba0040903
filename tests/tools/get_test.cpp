// SPDX-License-Identifier: MIT
// One value, as a script wants it.
#include "inspect.h"

#include <gtest/gtest.h>

namespace inspect_test {
namespace {

class get : public inspect_program {};

TEST_F(get, prints_the_value_alone)
{
    struct {
        const char *option;
        const char *printed;
    } const cases[] = {{"mode", "Gray\n"}, {"resolution", "75\n"}, {"is-photo-mode", "false\n"}, {"gamma", "1.0\n"}};
    for (const auto &each : cases) {
        const outcome result = inspect({"get", each.option});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, each.printed);
        EXPECT_EQ(result.messages, "");
    }
}

TEST_F(get, finds_an_option_by_number_and_identifier)
{
    EXPECT_EQ(inspect({"get", "6"}).output, "75\n");
    EXPECT_EQ(inspect({"get", "34840"}).output, "75\n");
}

TEST_F(get, shows_a_value_after_a_setting)
{
    EXPECT_EQ(inspect({"get", "gamma", "--set", "is-photo-mode=true"}).output, "1.5\n");
}

TEST_F(get, prints_json_for_scripts)
{
    EXPECT_EQ(inspect({"get", "resolution", "--json"}).output, R"({
  "device": "test:small",
  "option": "resolution",
  "value": 75
}
)");
}

TEST_F(get, says_what_has_no_value)
{
    expect_failure(inspect({"get", "group-image"}), 8, "group-image: a group has no value");
    expect_failure(inspect({"get", "clear-rollers"}), 8, "clear-rollers: a button has no value");
    expect_failure(inspect({"get", "page-width"}), 8, "page-width: its value cannot be read");
}

TEST_F(get, does_not_know_every_option)
{
    expect_failure(inspect({"get", "resolutions"}), 4, "there is no option \"resolutions\"");
    expect_failure(inspect({"get", "0"}), 4, "there is no option \"0\"");
    expect_failure(inspect({"get", "34913"}), 4, "there is no option \"34913\"");
}

} // namespace
} // namespace inspect_test
