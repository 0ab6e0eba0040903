// SPDX-License-Identifier: MIT
// What a setting did, to the option and to others.
#include "inspect.h"

#include <gtest/gtest.h>

namespace inspect_test {
namespace {

class set : public inspect_program {};

TEST_F(set, shows_the_value_before_and_after)
{
    const outcome result = inspect({"set", "test:small", "brightness=10"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "brightness: 0 -> 10\n");
    EXPECT_EQ(result.messages, "");
}

TEST_F(set, says_what_the_scanner_adjusted)
{
    EXPECT_EQ(inspect({"set", "brightness=7"}).output, "brightness: 0 -> 5\n"
                                                       "  asked for 7\n"
                                                       "  the scanner adjusted the value\n");
}

TEST_F(set, says_what_changed_with_it)
{
    EXPECT_EQ(inspect({"set", "is-photo-mode=true"}).output, "is-photo-mode: false -> true\n"
                                                             "  other options may have changed\n"
                                                             "  changed with it:\n"
                                                             "    brightness: 0 -> 5\n"
                                                             "    gamma: 1.0 -> 1.5\n");
    EXPECT_EQ(inspect({"set", "mode=Lineart"}).output, "mode: Gray -> Lineart\n"
                                                       "  other options may have changed\n"
                                                       "  the image parameters may have changed\n"
                                                       "  changed with it:\n"
                                                       "    threshold: inactive -> active\n");
}

TEST_F(set, says_what_changed_without_an_announcement)
{
    EXPECT_EQ(inspect({"set", "duplex=true"}).output, "duplex: set to true\n"
                                                      "  the image parameters may have changed\n"
                                                      "  changed with it, unannounced:\n"
                                                      "    page: Front side -> Both sides\n");
}

TEST_F(set, takes_several_settings_in_their_order)
{
    EXPECT_EQ(inspect({"set", "is-photo-mode=1", "gamma=2", "is-photo-mode=0"}).output,
              "is-photo-mode: false -> true\n"
              "  other options may have changed\n"
              "  changed with it:\n"
              "    brightness: 0 -> 5\n"
              "    gamma: 1.0 -> 1.5\n"
              "gamma: 1.5 -> 2.0\n"
              "is-photo-mode: true -> false\n"
              "  other options may have changed\n"
              "  changed with it:\n"
              "    brightness: 5 -> 0\n"
              "    gamma: 2.0 -> 1.0\n");
}

TEST_F(set, presses_buttons)
{
    EXPECT_EQ(inspect({"set", "34960="}).output, "clear-rollers: pressed\n");
}

TEST_F(set, prints_json_for_scripts)
{
    EXPECT_EQ(inspect({"set", "--json", "is-photo-mode=yes"}).output, R"({
  "device": "test:small",
  "settings": [
    {
      "option": "is-photo-mode",
      "asked": true,
      "before": false,
      "after": true,
      "was-active": true,
      "info": [
        "reload-options"
      ],
      "changes": [
        {
          "option": "brightness",
          "field": "current",
          "before": 0,
          "after": 5
        },
        {
          "option": "gamma",
          "field": "current",
          "before": 1.0,
          "after": 1.5
        }
      ]
    }
  ]
}
)");
}

TEST_F(set, keeps_what_was_done_before_a_failure)
{
    const outcome result = inspect({"set", "gamma=2", "nothing=1"});
    expect_failure(result, 4, "there is no option \"nothing\"");
    EXPECT_EQ(result.output, "gamma: 1.0 -> 2.0\n");
}

TEST_F(set, tells_a_refusal_from_a_mistake)
{
    expect_failure(inspect({"set", "mode=Blue"}), 8, "test:small: mode=Blue: An argument or a value is invalid.");
    expect_failure(inspect({"set", "threshold=3"}), 8,
                   "test:small: threshold=3: Access is denied, or the setting can only be read.");
    expect_failure(inspect({"set", "group-image=1"}), 8, "group-image: a group has no value");
    expect_failure(inspect({"set", "resolution=fine"}), 2, "resolution: \"fine\" is no value of the type int");
    expect_failure(inspect({"set", "resolution=75dpi"}), 2, "resolution: \"75dpi\" is no value of the type int");
    for (const std::string text : {"", "-", "1e", "1.5.5", "1e999", "inf", "nan"})
        expect_failure(inspect({"set", "gamma=" + text}), 2, "gamma: \"" + text + "\" is no value of the type fixed");
    expect_failure(inspect({"set", "is-photo-mode=maybe"}), 2, "is-photo-mode: \"maybe\" is no value of the type bool");
}

TEST_F(set, needs_something_to_set)
{
    expect_failure(inspect({"set", "test:small"}), 2, "nothing to set: NAME=VALUE is missing");
    expect_failure(inspect({"set", "test:small", "mode"}), 2, "\"mode\" is no NAME=VALUE");
    expect_failure(inspect({"set", "=Gray"}), 2, "\"=Gray\" is no NAME=VALUE");
}

} // namespace
} // namespace inspect_test
