// SPDX-License-Identifier: MIT
// An interactive application changes one option after another: what is told to it, and what follows from each change.
#include "sane_client.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <ostream>
#include <string>
#include <vector>

namespace system_test {

namespace {

struct setting {
    const char *name;
    const char *value;
};

using settings = std::vector<setting>;
using names = std::vector<std::string>;

// Settings made one after another on a freshly opened device; then these options are active, and those are not.
struct dependence {
    const char *what;
    settings made;
    names active;
    names inactive;
};

const names lineart_only{"threshold", "reverse-bw", "is-noise-optimize", "is-err-extension"};

const std::vector<dependence> dependences{
    {"nothing_set",
     {},
     {"is-rotate-bkg-180", "tl-x", "tl-y", "br-x", "br-y", "is-split", "sharpen", "color-correction", "is-rid-morr",
      "bkg-fill-mode", "search-hole-range-l", "search-hole-range-r", "double-feed", "feed-strength"},
     {"scan-count",       "blank-sensitivity",  "gamma",
      "threshold",        "reverse-bw",         "filter",
      "bkg-color-range",  "is-noise-optimize",  "noise-size",
      "anti-noise-level", "is-rid-grid",        "is-err-extension",
      "multiout-type",    "permeate-level",     "margin",
      "is-fill-color",    "search-hole-range",  "dog-ear-size",
      "askew-range",      "feed-strength-value"}},
    {"a_text", {{"scan-mode", "Given number of pages"}}, {"scan-count"}, {}},
    {"a_text_in_the_default_language", {{"scan-mode", "扫描指定张数"}}, {"scan-count"}, {}},
    {"a_text_and_back",
     {{"scan-mode", "Given number of pages"}, {"scan-mode", "Until the feeder is empty"}},
     {},
     {"scan-count"}},
    {"a_single_condition_without_a_list", {{"is-custom-gamma", "true"}}, {"gamma"}, {}},
    {"a_single_condition_and_back", {{"is-custom-gamma", "true"}, {"is-custom-gamma", "false"}}, {}, {"gamma"}},
    {"several_on_one", {{"mode", "Lineart"}}, lineart_only, {"color-correction"}},
    {"several_on_one_and_back", {{"mode", "Lineart"}, {"mode", "Color"}}, {"color-correction"}, lineart_only},
    {"any_but_a_text", {{"mode", "Gray"}}, {"filter"}, {"threshold", "color-correction"}},
    {"any_but_a_word", {{"page", "Front side"}}, {}, {"is-rotate-bkg-180", "blank-sensitivity"}},
    {"or_by_the_first", {{"discardblank", "true"}}, {"blank-sensitivity"}, {}},
    {"or_by_the_second", {{"page", "Both sides without blank pages"}}, {"blank-sensitivity", "is-rotate-bkg-180"}, {}},
    {"or_by_what_is_left",
     {{"page", "Both sides without blank pages"}, {"discardblank", "true"}, {"page", "Front side"}},
     {"blank-sensitivity"},
     {"is-rotate-bkg-180"}},
    {"or_by_neither", {{"discardblank", "true"}, {"discardblank", "false"}}, {}, {"blank-sensitivity"}},
    {"nameless_below_the_lower_limit", {{"resolution", "75"}}, {"is-rid-grid"}, {"sharpen", "is-rid-morr"}},
    {"nameless_at_the_lower_limit", {{"resolution", "100"}}, {"sharpen", "is-rid-grid"}, {"is-rid-morr"}},
    {"range_at_the_other_lower_limit", {{"resolution", "150"}}, {"sharpen", "is-rid-grid", "is-rid-morr"}, {}},
    {"range_within", {{"resolution", "300"}}, {"sharpen", "is-rid-morr"}, {"is-rid-grid"}},
    {"nameless_at_the_upper_limit", {{"resolution", "600"}}, {"is-rid-grid"}, {"sharpen", "is-rid-morr"}},
    {"and_back_within", {{"resolution", "600"}, {"resolution", "200"}}, {"sharpen", "is-rid-morr"}, {"is-rid-grid"}},
    {"a_chain", {{"mode", "Lineart"}, {"is-noise-optimize", "true"}}, {"noise-size", "anti-noise-level"}, {}},
    {"a_chain_by_its_last_master",
     {{"mode", "Lineart"}, {"is-noise-optimize", "true"}, {"noise-size", "2"}},
     {"noise-size"},
     {"anti-noise-level"}},
    {"a_chain_broken_at_its_start",
     {{"mode", "Lineart"}, {"is-noise-optimize", "true"}, {"mode", "Gray"}},
     {},
     {"is-noise-optimize", "noise-size", "anti-noise-level"}},
    {"a_chain_whole_again",
     {{"mode", "Lineart"}, {"is-noise-optimize", "true"}, {"mode", "Gray"}, {"mode", "Lineart"}},
     {"is-noise-optimize", "noise-size", "anti-noise-level"},
     {}},
    {"and_with_a_chain", {{"bkg-fill-mode", "Concave"}}, {"margin", "is-fill-color"}, {}},
    {"and_by_its_other_master", {{"bkg-fill-mode", "Concave"}, {"margin", "20"}}, {"margin"}, {"is-fill-color"}},
    {"and_without_its_first_master",
     {{"bkg-fill-mode", "Concave"}, {"is-erase-black-frame", "false"}},
     {},
     {"bkg-fill-mode", "margin", "is-fill-color"}},
    {"or_through_an_inactive_master", {{"is-auto-strength", "true"}}, {"feed-strength-value"}, {"feed-strength"}},
    {"or_through_a_master_that_came_alive",
     {{"is-auto-strength", "true"}, {"feed-strength-value", "51"}},
     {"feed-strength-value", "feed-strength"},
     {}},
    {"a_pair",
     {{"is-rid-hole", "true"}, {"search-hole-range-l", "25"}},
     {"search-hole-range-l", "search-hole-range-r"},
     {}},
    {"a_pair_beyond_a_limit",
     {{"is-rid-hole", "true"}, {"search-hole-range-l", "26"}},
     {},
     {"search-hole-range-l", "search-hole-range-r"}},
    {"a_pair_and_back",
     {{"is-rid-hole", "true"}, {"search-hole-range-l", "26"}, {"is-rid-hole", "false"}},
     {"search-hole-range-l", "search-hole-range-r"},
     {}},
    {"the_area", {{"is-custom-area", "false"}}, {}, {"tl-x", "tl-y", "br-x", "br-y"}},
    {"the_area_and_back",
     {{"is-custom-area", "false"}, {"is-custom-area", "true"}},
     {"tl-x", "tl-y", "br-x", "br-y"},
     {}},
    {"what_is_set_along", {{"is-photo-mode", "true"}}, {"gamma"}, {}},
    {"what_is_set_along_and_back", {{"is-photo-mode", "true"}, {"is-photo-mode", "false"}}, {}, {"gamma"}},
    {"what_is_set_along_beyond_a_limit", {{"resolution", "75"}, {"image-quality", "Detail"}}, {"sharpen"}, {}},
    {"the_rest_of_the_switches",
     {{"is-erase-bkg", "true"},
      {"is-multiout", "true"},
      {"is-anti-permeate", "true"},
      {"is-rid-hole", "true"},
      {"is-check-dog-ear", "true"},
      {"is-check-askew", "true"},
      {"is-ultrosonic", "false"},
      {"fold-type", "Side by side"}},
     {"bkg-color-range", "multiout-type", "permeate-level", "search-hole-range", "dog-ear-size", "askew-range"},
     {"double-feed", "is-split"}},
    {"a_reload_in_between",
     {{"is-check-askew", "true"}, {"mode", "Lineart"}, {"is-photo-mode", "true"}, {"language", "简体中文"}},
     {"askew-range", "gamma", "threshold", "reverse-bw"},
     {"color-correction", "noise-size"}},
};

std::ostream &operator<<(std::ostream &out, const dependence &shown)
{
    return out << shown.what;
}

} // namespace

class client_dependence : public sane_client, public testing::WithParamInterface<dependence> {};

TEST_P(client_dependence, switches_options)
{
    open();
    for (const setting &made : GetParam().made)
        ASSERT_EQ(SANE_STATUS_GOOD, set(made.name, made.value).status) << made.name;
    for (const std::string &name : GetParam().active)
        EXPECT_TRUE(is_active(name)) << name;
    for (const std::string &name : GetParam().inactive)
        EXPECT_FALSE(is_active(name)) << name;
}

INSTANTIATE_TEST_SUITE_P(each, client_dependence, testing::ValuesIn(dependences),
                         [](const testing::TestParamInfo<dependence> &instance) { return instance.param.what; });

class client_options : public sane_client {};

TEST_F(client_options, are_found_beyond_the_number_that_option_0_tells)
{
    open();
    SANE_Int count = 0;
    ASSERT_EQ(SANE_STATUS_GOOD, sane_control_option(handle(), 0, SANE_ACTION_GET_VALUE, &count, nullptr));
    EXPECT_EQ(75, count);
    const names found = walk();
    ASSERT_EQ(77U, found.size());
    EXPECT_EQ("restore-defaults", found[73]);
    EXPECT_EQ("duplex", found[74]);
    EXPECT_EQ("page-width", found[75]);
    EXPECT_EQ("page-height", found[76]);
    EXPECT_EQ(nullptr, sane_get_option_descriptor(handle(), 78));
}

TEST_F(client_options, tell_what_has_to_be_read_again)
{
    struct told {
        const char *name;
        const char *value;
        answer expected;
    };
    const std::vector<told> changes{
        // Nothing depends on them.
        {"is-wait-scan", "true", taken},
        {"brightness", "-20", taken},
        {"token", "label", taken},
        {"time-to-sleep", "Five minutes", taken},
        // Others come alive or fall asleep.
        {"scan-mode", "Given number of pages", reload_options},
        {"scan-count", "3", taken},
        {"discardblank", "true", reload_options},
        {"is-erase-bkg", "true", reload_options},
        {"is-custom-gamma", "true", reload_options},
        {"gamma", "1.5", taken},
        {"is-auto-strength", "true", reload_options},
        {"feed-strength-value", "50", taken},
        {"feed-strength-value", "51", reload_options},
        // The same value again changes nothing.
        {"is-erase-bkg", "true", taken},
        // The image changes.
        {"tl-x", "10", reload_image},
        {"br-y", "200.5", reload_image},
        // The image and others change.
        {"resolution", "300", reload_all}, // others depend on it
        {"resolution", "75", reload_all},
        {"mode", "Lineart", reload_all},
        {"page", "Front side", reload_all},
        {"is-custom-area", "false", reload_all},
        {"paper", "A5", reload_all},
        {"image-quality", "Detail", reload_all},
        // Others change their values.
        {"is-photo-mode", "true", reload_options},
        // Adjusted.
        {"brightness", "1000", inexact},
        {"resolution", "310", inexact},
        {"gamma", "9.5", inexact},
        // Refused.
        {"mode", "Sepia", invalid},
        {"paper", "A0", invalid},
        {"is-lens-dirty", "true", {SANE_STATUS_ACCESS_DENIED, 0}},
        {"language", "简体中文", reload_options},
    };
    open();
    for (const told &change : changes)
        EXPECT_EQ(change.expected, set(change.name, change.value)) << change.name << " = " << change.value;
}

TEST_F(client_options, hold_the_value_that_was_adjusted)
{
    open();
    EXPECT_EQ(inexact, set("brightness", "1000"));
    EXPECT_EQ("100", get("brightness"));
    EXPECT_EQ(inexact, set("resolution", "210"));
    EXPECT_EQ("200", get("resolution"));
}

TEST_F(client_options, switch_others_also_when_a_value_was_adjusted)
{
    open();
    EXPECT_EQ((answer{SANE_STATUS_GOOD, SANE_INFO_INEXACT | SANE_INFO_RELOAD_OPTIONS}), set("resolution", "1000"));
    EXPECT_EQ("600", get("resolution"));
    EXPECT_FALSE(is_active("sharpen"));
}

TEST_F(client_options, keep_their_values_while_they_are_inactive)
{
    open();
    EXPECT_EQ(reload_image, set("br-x", "123.5"));
    EXPECT_EQ(reload_all, set("is-custom-area", "false"));
    EXPECT_FALSE(is_active("br-x"));
    EXPECT_EQ(reload_all, set("is-custom-area", "true"));
    EXPECT_EQ("123.5", get("br-x"));
}

TEST_F(client_options, go_back_when_set_by_the_scanner)
{
    open();
    set("resolution", "600");
    set("brightness", "55");
    set("page", "Front side");
    set("br-x", "100.5");
    EXPECT_EQ(reload_all, set_auto("resolution"));
    EXPECT_EQ(taken, set_auto("brightness"));
    EXPECT_EQ(reload_all, set_auto("page"));
    EXPECT_EQ(reload_image, set_auto("br-x"));
    EXPECT_EQ("200", get("resolution"));
    EXPECT_EQ("0", get("brightness"));
    EXPECT_EQ("Both sides", get("page"));
    EXPECT_EQ("210", get("br-x"));
}

TEST_F(client_options, that_the_scanner_cannot_set_say_so)
{
    open();
    for (const char *name : {"language", "token", "is-lens-dirty"}) {
        EXPECT_EQ(SANE_STATUS_UNSUPPORTED, set_auto(name).status) << name;
        EXPECT_EQ(0, descriptor(name)->cap & SANE_CAP_AUTOMATIC) << name;
    }
}

TEST_F(client_options, that_are_buttons_are_pressed)
{
    open();
    set("brightness", "55");
    set("mode", "Lineart");
    EXPECT_EQ(taken, press("clear-rollers"));
    EXPECT_EQ("55", get("brightness"));
    EXPECT_EQ(reload_all, press("restore-defaults"));
    EXPECT_EQ("0", get("brightness"));
    EXPECT_EQ("Color", get("mode"));
    EXPECT_FALSE(is_active("threshold"));
    EXPECT_EQ("(unreadable)", get("clear-rollers"));
    EXPECT_EQ(0, descriptor("clear-rollers")->size);
}

TEST_F(client_options, speak_another_language_at_once)
{
    open();
    EXPECT_STREQ("Sides", descriptor("page")->title);
    EXPECT_EQ("Both sides", get("page"));
    EXPECT_EQ(reload_options, set("language", "简体中文"));
    EXPECT_STREQ("扫描页面", descriptor("page")->title);
    EXPECT_STREQ("单面", descriptor("page")->constraint.string_list[0]);
    EXPECT_EQ("双面", get("page"));
    EXPECT_EQ(reload_all, set("page", "单面"));
    EXPECT_FALSE(is_active("is-rotate-bkg-180"));
    EXPECT_EQ(reload_options, set("language", "English"));
    EXPECT_EQ("Front side", get("page"));
}

TEST_F(client_options, keep_their_descriptors_addresses)
{
    open();
    const auto before = descriptors();
    const std::vector<setting> changes{
        {"mode", "Lineart"},     {"resolution", "600"},       {"language", "简体中文"},   {"is-photo-mode", "true"},
        {"is-rid-hole", "true"}, {"page-width", "148"},       {"page-height", "210"},     {"duplex", "false"},
        {"language", "English"}, {"image-quality", "Detail"}, {"is-custom-area", "false"}};
    for (const setting &change : changes) {
        ASSERT_EQ(SANE_STATUS_GOOD, set(change.name, change.value).status) << change.name;
        ASSERT_EQ(before, descriptors()) << change.name;
    }
    EXPECT_EQ(reload_all, press("restore-defaults"));
    EXPECT_EQ(before, descriptors());
    EXPECT_EQ(SANE_STATUS_EOF, scan_page().end);
    EXPECT_EQ(before, descriptors());
}

TEST_F(client_options, are_fresh_when_the_device_is_opened_again)
{
    open();
    set("mode", "Lineart");
    set("duplex", "false");
    reopen();
    EXPECT_EQ("Color", get("mode"));
    EXPECT_EQ("Both sides", get("page"));
    EXPECT_FALSE(is_active("threshold"));
    EXPECT_EQ(77U, walk().size());
}

} // namespace system_test
