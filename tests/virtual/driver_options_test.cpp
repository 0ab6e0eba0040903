// SPDX-License-Identifier: MIT
// Options of the virtual scanner: their texts, the keys that select them, and what a set answers.
#include "driver_fixture.h"
#include "kx_scanner.h"
#include "langkit.h"
#include "langkit_control.h"
#include "option_ids.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace driver_test {

class driver_options : public driver_running {};

TEST_F(driver_options, print_as_json_with_all_keys)
{
    const std::set<std::string> types{"bool", "int", "float", "string", "button", "group"};
    scanner device;
    for (const auto &[name, option] : device.options()) {
        SCOPED_TRACE(name);
        for (const char *needed : {"type", "title", "desc", "size", "auto", "readonly", "cat", "enable"})
            EXPECT_TRUE(option.contains(needed)) << needed;
        EXPECT_EQ(1U, types.count(option["type"]));
        EXPECT_TRUE(option["title"].is_number_integer());
        EXPECT_TRUE(option["desc"].is_number_integer());
        const bool has_value = option["type"] != "button" && option["type"] != "group";
        EXPECT_EQ(has_value, option.contains("cur"));
        EXPECT_EQ(has_value, option.contains("default"));
    }
}

TEST_F(driver_options, begin_with_their_quoted_name)
{
    scanner device;
    EXPECT_EQ(0U, device.text("resolution").find("\"resolution\" : {\"type\":\"int\""));
}

TEST_F(driver_options, have_the_sizes_of_their_types)
{
    const std::map<std::string, int> sizes{{"bool", 4}, {"int", 4}, {"float", 4}, {"button", 0}, {"group", 0}};
    scanner device;
    for (const auto &[name, option] : device.options())
        if (option["type"] != "string") {
            EXPECT_EQ(sizes.at(option["type"]), option["size"]) << name;
        }
}

TEST_F(driver_options, have_texts_that_fit_with_four_bytes_to_spare_in_both_languages)
{
    for (const char *language : {"en", "zh"}) {
        ASSERT_EQ(0, langkit_set_language(language));
        scanner device;
        for (const auto &[name, option] : device.options())
            for (const json &value : option.value("range", json::array()))
                if (value.is_string()) {
                    EXPECT_LE(value.get<std::string>().size() + 4, option["size"].get<std::size_t>()) << name << value;
                }
    }
}

TEST_F(driver_options, keep_their_sizes_in_every_language)
{
    scanner device;
    const auto sizes = [&device] {
        std::map<std::string, int> all;
        for (const auto &[name, option] : device.options())
            all[name] = option["size"];
        return all;
    };
    const auto in_english = sizes();
    EXPECT_EQ(34, in_english.at("page")); // "Both sides without blank pages", in Chinese 15 bytes
    EXPECT_EQ(16, in_english.at("language"));
    EXPECT_EQ(64, in_english.at("token"));
    ASSERT_EQ(0, langkit_set_language("zh"));
    EXPECT_EQ(in_english, sizes());
}

TEST_F(driver_options, have_titles_and_descriptions_in_both_languages)
{
    for (const char *language : {"en", "zh"}) {
        ASSERT_EQ(0, langkit_set_language(language));
        scanner device;
        for (const auto &[name, option] : device.options())
            for (const char *text : {"title", "desc"}) {
                int status = -1;
                EXPECT_STRNE("", lang_load_string(option[text].get<int>(), &status, 0));
                EXPECT_EQ(0, status) << language << " " << name << " " << text;
            }
    }
}

TEST_F(driver_options, include_at_least_45_well_known_ones)
{
    scanner device;
    int known = 0;
    for (const auto &entry : device.options())
        known += std::any_of(std::begin(well_known_options), std::end(well_known_options),
                             [&](const well_known_option &option) { return option.name == entry.first; });
    EXPECT_GE(known, 45);
}

TEST_F(driver_options, avoid_the_long_options_of_scanimage)
{
    const std::set<std::string> taken{"device-name",     "list-devices", "formatted-device-list",
                                      "format",          "output-file",  "batch",
                                      "batch-start",     "batch-count",  "batch-increment",
                                      "batch-double",    "batch-print",  "batch-prompt",
                                      "accept-md5-only", "icc-profile",  "progress",
                                      "dont-scan",       "test",         "all-options",
                                      "buffer-size",     "help",         "verbose",
                                      "version",         "width",        "height"};
    scanner device;
    std::set<std::string> names;
    for (const auto &entry : device.options()) {
        EXPECT_EQ(0U, taken.count(entry.first)) << entry.first;
        EXPECT_EQ(std::string::npos, entry.first.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"));
        EXPECT_TRUE(names.insert(entry.first).second) << entry.first;
    }
}

TEST_F(driver_options, offer_the_papers_up_to_a3_in_both_languages)
{
    const json english{"A3", "8K",           "A4", "A4 landscape", "A5",  "A5 landscape", "A6", "A6 landscape", "B4",
                       "B5", "B5 landscape", "B6", "B6 landscape", "16K", "Original size"};
    const json chinese{"A3", "8开", "A4",     "A4横向", "A5",     "A5横向", "A6",          "A6横向",
                       "B4", "B5",  "B5横向", "B6",     "B6横向", "16开",   "匹配原始尺寸"};
    scanner device;
    EXPECT_EQ(english, device.option("paper")["range"]);
    EXPECT_EQ(0, langkit_set_language("zh"));
    EXPECT_EQ(chinese, device.option("paper")["range"]);
}

TEST_F(driver_options, keep_their_conditions_in_the_default_language)
{
    scanner device;
    EXPECT_EQ("page!=单面", device.option("is-rotate-bkg-180")["depend_or"]);
    EXPECT_EQ(json({"discardblank==true", "page==跳过空白页"}), device.option("blank-sensitivity")["depend_or"]);
    EXPECT_EQ(json({"resolution>=100", "<600"}), device.option("sharpen")["depend_and"]);
}

TEST_F(driver_options, are_active_at_first_as_their_conditions_and_defaults_say)
{
    const std::set<std::string> inactive{"scan-count",       "blank-sensitivity",  "gamma",
                                         "threshold",        "reverse-bw",         "filter",
                                         "bkg-color-range",  "is-noise-optimize",  "noise-size",
                                         "anti-noise-level", "is-rid-grid",        "is-err-extension",
                                         "multiout-type",    "permeate-level",     "margin",
                                         "is-fill-color",    "search-hole-range",  "dog-ear-size",
                                         "askew-range",      "feed-strength-value"};
    scanner device;
    std::set<std::string> found;
    for (const auto &[name, option] : device.options())
        if (!option["enable"].get<bool>())
            found.insert(name);
    EXPECT_EQ(inactive, found);
}

TEST_F(driver_options, have_current_values_equal_to_their_defaults_at_first)
{
    scanner device;
    for (const auto &[name, option] : device.options())
        if (option.contains("cur")) {
            EXPECT_EQ(option["default"], option["cur"]) << name;
        }
}

TEST_F(driver_options, are_found_by_number_name_and_well_known_id)
{
    scanner device;
    int number = -1;
    long length = 0;
    EXPECT_EQ(258, kx_scanner_get_parameter(device.handle(), "resolution", nullptr, &length, &number));
    EXPECT_EQ("\"resolution\"", device.text(key(number)).substr(0, 12));
    EXPECT_EQ(device.text("resolution"), device.text(key(34840)));
    int by_id = -1;
    EXPECT_EQ(258, kx_scanner_get_parameter(device.handle(), key(34840), nullptr, &length, &by_id));
    EXPECT_EQ(number, by_id);
    EXPECT_EQ(device.text("clear-rollers"), device.text(key(34960)));
}

TEST_F(driver_options, store_a_number_that_is_asked_for_also_when_there_is_no_such_option)
{
    scanner device;
    int number = -1;
    long length = 0;
    EXPECT_EQ(256, kx_scanner_get_parameter(device.handle(), key(500), nullptr, &length, &number));
    EXPECT_EQ(500, number);
    EXPECT_EQ(256, kx_scanner_get_parameter(device.handle(), key(34999), nullptr, &length, &number));
    EXPECT_EQ(34999, number);
    number = -1;
    EXPECT_EQ(256, kx_scanner_get_parameter(device.handle(), "no-such-option", nullptr, &length, &number));
    EXPECT_EQ(-1, number);
}

TEST_F(driver_options, are_not_told_without_a_length)
{
    scanner device;
    int number = -1;
    EXPECT_EQ(256, kx_scanner_get_parameter(device.handle(), "mode", nullptr, nullptr, &number));
    EXPECT_EQ(256, kx_scanner_get_parameter(device.handle(), key(0), nullptr, nullptr, nullptr));
    EXPECT_EQ(256, kx_scanner_get_parameter(device.handle(), key(34890), nullptr, nullptr, nullptr));
}

// Not read as the addresses of names, which they cannot be.
TEST_F(driver_options, have_no_negative_numbers)
{
    scanner device;
    for (const int number : {-1, -39171, INT_MIN}) {
        char data[8] = "true";
        long length = sizeof(data);
        EXPECT_EQ(256, kx_scanner_get_parameter(device.handle(), key(number), data, &length, nullptr)) << number;
        EXPECT_EQ(256, kx_scanner_set_parameter(device.handle(), key(number), data, &length)) << number;
    }
}

TEST_F(driver_options, tell_the_length_that_a_buffer_needs)
{
    scanner device;
    const auto exact = static_cast<long>(device.text("mode").size());
    std::string buffer(static_cast<std::size_t>(exact), '#');
    long length = exact - 1;
    EXPECT_EQ(258, kx_scanner_get_parameter(device.handle(), "mode", buffer.data(), &length, nullptr));
    EXPECT_EQ(exact, length);
    EXPECT_EQ('#', buffer[0]);
    EXPECT_EQ(0, kx_scanner_get_parameter(device.handle(), "mode", buffer.data(), &length, nullptr));
    EXPECT_EQ(exact, length);
}

TEST_F(driver_options, are_delivered_with_a_terminator_where_there_is_room_for_it)
{
    scanner device;
    const std::string text = device.text("mode");
    for (const std::size_t spare : {0U, 1U, 2U}) {
        std::string buffer(text.size() + 3, '#');
        long length = static_cast<long>(text.size() + spare);
        EXPECT_EQ(0, kx_scanner_get_parameter(device.handle(), "mode", buffer.data(), &length, nullptr));
        EXPECT_EQ(static_cast<long>(text.size()), length);
        EXPECT_EQ(text + (spare > 0 ? std::string("\0##", 3) : "###"), buffer) << spare;
    }
}

TEST_F(driver_options, keep_their_number_while_settings_change)
{
    scanner device;
    const long count = device.count();
    EXPECT_EQ(75, count);
    device.set("mode", "Lineart");
    device.set("page", "Front side");
    device.set("language", "简体中文");
    EXPECT_EQ(count, device.count());
}

struct set_case {
    const char *name;
    const char *text;
    int answer;
};

TEST_F(driver_options, answer_what_setting_a_text_changes)
{
    const set_case cases[] = {
        {"mode", "Gray", 278}, // "filter" becomes active
        {"mode", "Gray", 278}, // nothing else this time, but other options depend on it
        {"paper", "A5", 278},  // the area follows
        {"page", "Both sides", 278},
        {"page", "Front side", 278}, // turning back sides does not apply any more
        {"image-quality", "Speed", 278},
        {"image-quality", "Custom", 0},
        {"language", "English", 262},
        {"time-to-sleep", "Never", 0},
        {"token", "box 7", 0},
    };
    scanner device;
    for (const set_case &each : cases)
        EXPECT_EQ(each.answer, device.set(each.name, each.text)) << each.name << " " << each.text;
}

TEST_F(driver_options, answer_what_setting_other_values_changes)
{
    scanner device;
    EXPECT_EQ(278, device.set("resolution", 300)); // "sharpen" and others depend on it
    EXPECT_EQ(278, device.set("resolution", 600)); // "sharpen" does not apply any more
    EXPECT_EQ(277, device.set("tl-x", 12.5));
    EXPECT_EQ(277, device.set("br-y", 100.25));
    EXPECT_EQ(0, device.set("brightness", 10));
    EXPECT_EQ(0, device.set("is-custom-gamma", true));
    EXPECT_EQ(0, device.set("gamma", 1.8));
    EXPECT_EQ(262, device.set("is-photo-mode", true));
    EXPECT_EQ(278, device.set("is-custom-area", false));
    EXPECT_EQ(259, device.set("is-lens-dirty", true));
    EXPECT_EQ(256, device.set("group-job", true));
}

TEST_F(driver_options, press_buttons_without_a_value)
{
    scanner device;
    EXPECT_EQ(0, kx_scanner_set_parameter(device.handle(), "clear-rollers", nullptr, nullptr));
    device.set("resolution", 75);
    EXPECT_EQ(278, kx_scanner_set_parameter(device.handle(), "restore-defaults", nullptr, nullptr));
    EXPECT_EQ(200, device.option("resolution")["cur"]);
}

TEST_F(driver_options, adjust_numbers_to_the_nearest_allowed_value_in_place)
{
    const struct {
        int wanted;
        int taken;
    } cases[] = {{80, 75}, {90, 100}, {125, 100}, {1200, 600}, {0, 75}, {-5, 75}};
    scanner device;
    for (const auto &each : cases) {
        int value = each.wanted;
        long length = 4;
        EXPECT_EQ(261, kx_scanner_set_parameter(device.handle(), "resolution", &value, &length));
        EXPECT_EQ(each.taken, value);
        EXPECT_EQ(each.taken, device.option("resolution")["cur"]);
    }
    double edge = 500;
    long length = 8;
    EXPECT_EQ(261, kx_scanner_set_parameter(device.handle(), "br-x", &edge, &length));
    EXPECT_EQ(297.0, edge);
    int brightness = -101;
    length = 4;
    EXPECT_EQ(261, kx_scanner_set_parameter(device.handle(), key(34846), &brightness, &length));
    EXPECT_EQ(-100, brightness);
}

// 125 dpi are as far from 100 as from 150, and 450 as far from 300 as from 600.
TEST_F(driver_options, adjust_a_number_between_two_to_the_smaller)
{
    scanner device;
    for (const auto &[wanted, taken] : {std::pair(125, 100), std::pair(450, 300), std::pair(451, 600)}) {
        int value = wanted;
        long length = 4;
        EXPECT_EQ(261, kx_scanner_set_parameter(device.handle(), "resolution", &value, &length));
        EXPECT_EQ(taken, value);
    }
}

TEST_F(driver_options, refuse_what_is_no_number)
{
    scanner device;
    EXPECT_EQ(256, device.set("br-x", std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(210.0, device.option("br-x")["cur"]);
    EXPECT_EQ(261, device.set("br-x", std::numeric_limits<double>::infinity()));
    EXPECT_EQ(297.0, device.option("br-x")["cur"]);
}

TEST_F(driver_options, take_texts_in_the_current_and_the_default_language)
{
    scanner device;
    EXPECT_EQ(278, device.set("page", "Front side"));
    EXPECT_EQ("Front side", device.option("page")["cur"]);
    EXPECT_EQ(278, device.set("page", "双面"));
    EXPECT_EQ("Both sides", device.option("page")["cur"]);
}

TEST_F(driver_options, are_to_be_read_again_after_a_word_that_is_shown_as_another)
{
    const set_case cases[] = {
        {"time-to-sleep", "五分钟", 262}, {"time-to-sleep", "Five minutes", 0}, {"scan-mode", "扫描指定张数", 262},
        {"image-quality", "自定义", 262}, {"image-quality", "Custom", 0},       {"mode", "Gray", 278},
    };
    scanner device;
    for (const set_case &each : cases)
        EXPECT_EQ(each.answer, device.set(each.name, each.text)) << each.name << " " << each.text;
    EXPECT_EQ("Five minutes", device.option("time-to-sleep")["cur"]);
    ASSERT_EQ(0, langkit_set_language("zh"));
    EXPECT_EQ(0, device.set("time-to-sleep", "十分钟"));
    EXPECT_EQ(256, device.set("time-to-sleep", "Ten minutes"));
}

TEST_F(driver_options, refuse_texts_that_are_not_allowed_and_leave_them_as_they_are)
{
    scanner device;
    for (const char *text : {"", "Colour", "color", "Lineart ", "G"}) {
        EXPECT_EQ(256, device.set("mode", text)) << text;
        EXPECT_EQ("Color", device.option("mode")["cur"]);
    }
}

TEST_F(driver_options, read_a_text_up_to_its_length)
{
    scanner device;
    char text[] = {'G', 'r', 'a', 'y', '!'};
    long length = 4;
    EXPECT_EQ(278, kx_scanner_set_parameter(device.handle(), "mode", text, &length));
    EXPECT_EQ('!', text[4]);
    EXPECT_EQ("Gray", device.option("mode")["cur"]);
}

TEST_F(driver_options, keep_a_free_text_within_its_size)
{
    scanner device;
    EXPECT_EQ(0, device.set("token", std::string(63, 'x').c_str()));
    EXPECT_EQ(256, device.set("token", std::string(64, 'x').c_str()));
    EXPECT_EQ(0, device.set("token", std::string(63, '"').c_str())); // two bytes each in JSON, and one when read back
    EXPECT_EQ(std::string(63, '"'), device.option("token")["cur"]);
    EXPECT_EQ(0, device.set("token", std::string(63, '\x01').c_str()));
    EXPECT_EQ(std::string(63, '\x01'), device.option("token")["cur"]);
}

TEST_F(driver_options, take_free_texts_of_utf8)
{
    scanner device;
    for (const char *text : {"", "\"quoted\" \\", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
                             "\xEE\x80\x80", "\xEF\xBF\xBD", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(0, device.set("token", text)) << text;
        EXPECT_EQ(text, device.option("token")["cur"]);
    }
}

TEST_F(driver_options, refuse_a_text_that_is_no_utf8_and_keep_the_one_before)
{
    scanner device;
    EXPECT_EQ(0, device.set("token", "box 7"));
    const std::string bad_bytes(63, '\xFC');
    for (const char *text :
         {bad_bytes.c_str(), "\xFC", "box \xFF", "\x80", "\xC3", "\xC1\xBF", "\xE2\x82", "\xE0\x9F\xBF", "\xED\xA0\x80",
          "\xC3(", "\xE2(\x80", "\xE2\x82(", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
        EXPECT_EQ(256, device.set("token", text)) << text;
        EXPECT_EQ("box 7", device.option("token")["cur"]);
    }
    char cut[] = "ab\xE2\x82\xAC";
    long length = 4; // within the last character
    EXPECT_EQ(256, kx_scanner_set_parameter(device.handle(), "token", cut, &length));
    EXPECT_EQ("box 7", device.option("token")["cur"]);
}

TEST_F(driver_options, do_not_translate_a_free_text)
{
    scanner device;
    EXPECT_EQ(0, device.set("token", "双面"));
    EXPECT_EQ("双面", device.option("token")["cur"]);
}

TEST_F(driver_options, refuse_missing_and_short_values)
{
    scanner device;
    int value = 300;
    long length = 3;
    EXPECT_EQ(256, kx_scanner_set_parameter(device.handle(), "resolution", &value, &length));
    EXPECT_EQ(256, kx_scanner_set_parameter(device.handle(), "resolution", nullptr, &length));
    double right = 100;
    length = 7;
    EXPECT_EQ(256, kx_scanner_set_parameter(device.handle(), "br-x", &right, &length));
    bool wanted = true;
    length = 0;
    EXPECT_EQ(256, kx_scanner_set_parameter(device.handle(), "discardblank", &wanted, &length));
    EXPECT_EQ(false, device.option("discardblank")["cur"]);
    EXPECT_EQ(256, kx_scanner_set_parameter(device.handle(), key(0), &value, &length));
    EXPECT_EQ(256, kx_scanner_set_parameter(device.handle(), "no-such-option", &value, &length));
}

TEST_F(driver_options, take_values_without_a_length)
{
    scanner device;
    int resolution = 300;
    EXPECT_EQ(278, kx_scanner_set_parameter(device.handle(), "resolution", &resolution, nullptr));
    EXPECT_EQ(300, device.option("resolution")["cur"]);
    double right = 100.5;
    EXPECT_EQ(277, kx_scanner_set_parameter(device.handle(), "br-x", &right, nullptr));
    EXPECT_EQ(100.5, device.option("br-x")["cur"]);
    char mode[] = "Gray";
    EXPECT_EQ(278, kx_scanner_set_parameter(device.handle(), "mode", mode, nullptr));
    EXPECT_EQ("Gray", device.option("mode")["cur"]);
}

TEST_F(driver_options, set_the_area_to_the_paper)
{
    scanner device;
    device.set_area(10, 20, 30, 40);
    EXPECT_EQ(278, device.set("paper", "B5 landscape"));
    EXPECT_EQ(0.0, device.option("tl-x")["cur"]);
    EXPECT_EQ(0.0, device.option("tl-y")["cur"]);
    EXPECT_EQ(250.0, device.option("br-x")["cur"]);
    EXPECT_EQ(176.0, device.option("br-y")["cur"]);
}

TEST_F(driver_options, set_along_what_a_preset_names)
{
    scanner device;
    device.set("is-photo-mode", true);
    EXPECT_EQ(5, device.option("brightness")["cur"]);
    EXPECT_EQ(10, device.option("contrast")["cur"]);
    EXPECT_EQ(1.2, device.option("gamma")["cur"]);
    EXPECT_TRUE(device.is_enabled("gamma"));
    device.set("is-photo-mode", false);
    EXPECT_EQ(0, device.option("brightness")["cur"]);
    EXPECT_FALSE(device.is_enabled("gamma"));
}

TEST_F(driver_options, become_active_down_a_chain)
{
    scanner device;
    EXPECT_EQ(0, device.set("bkg-fill-mode", "Concave"));
    EXPECT_TRUE(device.is_enabled("margin"));
    EXPECT_TRUE(device.is_enabled("is-fill-color"));
    EXPECT_EQ(0, device.set("is-erase-black-frame", false));
    EXPECT_FALSE(device.is_enabled("bkg-fill-mode"));
    EXPECT_FALSE(device.is_enabled("margin"));
    EXPECT_FALSE(device.is_enabled("is-fill-color"));
    EXPECT_EQ(0, device.set("is-erase-black-frame", true));
    EXPECT_TRUE(device.is_enabled("is-fill-color"));
    EXPECT_EQ(0, device.set("margin", 20));
    EXPECT_FALSE(device.is_enabled("is-fill-color"));
}

TEST_F(driver_options, become_active_within_ranges_that_leave_their_limits_out)
{
    const struct {
        int resolution;
        bool within_100_600;
        bool outside_150_600;
        bool from_100_below_600;
    } cases[] = {{75, false, true, false}, {100, false, true, true}, {150, true, true, true},
                 {200, true, false, true}, {300, true, false, true}, {600, false, true, false}};
    scanner device;
    for (const auto &each : cases) {
        SCOPED_TRACE(each.resolution);
        device.set("resolution", each.resolution);
        EXPECT_EQ(each.within_100_600, device.is_enabled("is-rid-morr"));
        EXPECT_EQ(each.outside_150_600, device.is_enabled("is-rid-grid"));
        EXPECT_EQ(each.from_100_below_600, device.is_enabled("sharpen"));
    }
}

TEST_F(driver_options, become_active_when_one_of_two_conditions_holds)
{
    scanner device;
    EXPECT_FALSE(device.is_enabled("blank-sensitivity"));
    device.set("page", "Both sides without blank pages");
    EXPECT_TRUE(device.is_enabled("blank-sensitivity"));
    device.set("page", "Both sides");
    device.set("discardblank", true);
    EXPECT_TRUE(device.is_enabled("blank-sensitivity"));
}

TEST_F(driver_options, that_depend_on_each_other_switch_each_other)
{
    const auto are_enabled = [](const scanner &device) {
        return std::pair(device.is_enabled("search-hole-range-l"), device.is_enabled("search-hole-range-r"));
    };
    scanner device;
    EXPECT_EQ(0, device.set("is-rid-hole", true));
    EXPECT_EQ(0, device.set("search-hole-range-l", 25));
    EXPECT_EQ(std::pair(true, true), are_enabled(device));
    EXPECT_EQ(0, device.set("search-hole-range-l", 26));
    EXPECT_EQ(std::pair(false, false), are_enabled(device));
    EXPECT_EQ(0, device.set("is-rid-hole", false));
    EXPECT_EQ(std::pair(true, true), are_enabled(device));
}

TEST_F(driver_options, follow_the_notice_of_their_activity)
{
    scanner device;
    _opt_enabled notice{};
    std::strcpy(notice.name, "brightness");
    EXPECT_EQ(0, kx_scanner_control(device.handle(), 0x10000001, &notice, nullptr));
    EXPECT_FALSE(device.is_enabled("brightness"));
    notice.enabled = 1;
    EXPECT_EQ(0, kx_scanner_control(device.handle(), 0x10000001, &notice, nullptr));
    EXPECT_TRUE(device.is_enabled("brightness"));
    std::memset(notice.name, 'x', sizeof notice.name);
    EXPECT_EQ(256, kx_scanner_control(device.handle(), 0x10000001, &notice, nullptr));
    EXPECT_EQ(256, kx_scanner_control(device.handle(), 0x10000001, nullptr, nullptr));
}

TEST_F(driver_options, are_restored_by_a_control_code_except_the_language)
{
    scanner device;
    device.set("resolution", 600);
    device.set("page", "Front side");
    device.set("language", "简体中文");
    EXPECT_EQ(262, kx_scanner_control(device.handle(), 0x20000001, nullptr, nullptr));
    EXPECT_EQ(200, device.option("resolution")["cur"]);
    EXPECT_EQ("双面", device.option("page")["cur"]);
    EXPECT_EQ("简体中文", device.option("language")["cur"]);
    EXPECT_EQ(0xDE01, kx_scanner_control(device.handle(), 0x20000002, nullptr, nullptr));
}

void note_text_of_mode(int, void *parameter)
{
    auto *noted = static_cast<std::pair<scanner *, std::string> *>(parameter);
    noted->second = noted->first->option("page")["cur"];
}

TEST_F(driver_options, can_be_read_from_the_notice_of_a_language_change)
{
    scanner device;
    std::pair<scanner *, std::string> noted{&device, ""};
    ASSERT_EQ(0, register_language_changed_notify(note_text_of_mode, 1, &noted));
    EXPECT_EQ(262, device.set("language", "简体中文"));
    EXPECT_EQ(0, register_language_changed_notify(note_text_of_mode, 0, &noted));
    EXPECT_EQ("双面", noted.second);
    EXPECT_STREQ("zh", langkit_language());
}

TEST_F(driver_options, belong_to_their_handle)
{
    scanner one;
    scanner other;
    one.set("resolution", 75);
    EXPECT_EQ(75, one.option("resolution")["cur"]);
    EXPECT_EQ(200, other.option("resolution")["cur"]);
}

} // namespace driver_test
