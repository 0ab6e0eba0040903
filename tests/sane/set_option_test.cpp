// SPDX-License-Identifier: MIT
// Setting options: values on their way to the driver and back, automatic values, the driver's result codes, options
// that nobody knows.
#include "guarded_memory.h"
#include "option_device.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace {

constexpr SANE_Int untouched = 77;

std::string key_in_log(const char *name)
{
    return std::to_string(static_cast<int>(reinterpret_cast<std::intptr_t>(name)));
}

template <typename Value> scripted::bytes bytes_of(const Value &value)
{
    scripted::bytes bytes(sizeof(value));
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

class set_option : public option_device {
protected:
    // Status and info word of setting "number" when the driver answers a code.
    std::pair<int, SANE_Int> set_answered(int code)
    {
        scripted::answer("kx_scanner_set_parameter", code, 1);
        SANE_Int info = untouched;
        const int status = set_word(2, 300, &info);
        return {status, info};
    }
};

using set_answer = std::pair<int, SANE_Int>;

} // namespace

// ----- values on their way to the driver -----

TEST_F(set_option, a_bool_goes_as_one_byte_that_is_true_for_1_only)
{
    open_samples();
    struct {
        SANE_Word word;
        const char *sent;
        SANE_Word after;
        const char *log;
    } const cases[] = {
        {1, "01", 1, "Info: -->Set option(1 - Flag) value: true"},
        {0, "00", 0, "Info: -->Set option(1 - Flag) value: false"},
        {2, "00", 0, "Info: -->Set option(1 - Flag) value: true(Applied: false)"},
        {-1, "00", 0, "Info: -->Set option(1 - Flag) value: true(Applied: false)"},
        {256, "00", 0, "Info: -->Set option(1 - Flag) value: true(Applied: false)"},
    };
    for (const auto &c : cases) {
        scripted::forget_record();
        SANE_Word word = c.word;
        SANE_Int info = untouched;
        EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, &word, &info), SANE_STATUS_GOOD) << c.word;
        EXPECT_EQ(word, c.after) << c.word;
        EXPECT_EQ(info, 0) << c.word;
        EXPECT_EQ(scripted::record(),
                  (texts{"kx_scanner_get_status(0x100000002,0)",
                         std::string("kx_scanner_set_parameter(0x100000002,1,") + c.sent + ",1)", c.log}))
            << c.word;
    }
}

TEST_F(set_option, a_bool_that_the_driver_turns_is_written_back_as_a_word)
{
    open_samples();
    scripted::answer_write("flag", 261, scripted::bytes{1});
    SANE_Word word = 0;
    SANE_Int info = untouched;
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 1);
    EXPECT_EQ(info, SANE_INFO_INEXACT);
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(1 - Flag) value: false(Applied: true)"}));
}

TEST_F(set_option, a_fixed_value_goes_as_a_double)
{
    open_samples();
    SANE_Word word = 98304;
    EXPECT_EQ(control(3, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD);
    ASSERT_EQ(scripted::writes().size(), 1U);
    EXPECT_EQ(scripted::writes()[0].data, bytes_of(1.5));
    EXPECT_EQ(scripted::writes()[0].length, 8);
    EXPECT_EQ(word, 98304);
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(3 - Real) value: 1.500000"}));
}

TEST_F(set_option, a_fixed_value_that_the_driver_clamps_is_written_back)
{
    open_samples();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    struct {
        double applied;
        SANE_Word after;
        const char *log;
    } const cases[] = {
        {1.0, 65536, "Info: -->Set option(3 - Real) value: 1.500000(Applied: 1.000000)"},
        {-0.00001, 0, "Info: -->Set option(3 - Real) value: 1.500000(Applied: 0.000000)"},
        {1e300, INT_MAX, "Info: -->Set option(3 - Real) value: 1.500000(Applied: 32767.999985)"},
        {-infinity, INT_MIN, "Info: -->Set option(3 - Real) value: 1.500000(Applied: -32768.000000)"},
        {std::numeric_limits<double>::quiet_NaN(), 0,
         "Info: -->Set option(3 - Real) value: 1.500000(Applied: 0.000000)"},
    };
    for (const auto &c : cases) {
        scripted::answer_write("real", 261, bytes_of(c.applied));
        scripted::forget_record();
        SANE_Word word = 98304;
        EXPECT_EQ(control(3, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD);
        EXPECT_EQ(word, c.after) << c.log;
        EXPECT_EQ(scripted::log_lines(), (texts{c.log}));
    }
}

TEST_F(set_option, an_integer_goes_as_it_is_and_is_adjusted_in_place)
{
    open_samples();
    scripted::answer_write("number", 261, bytes_of(SANE_Word{300}));
    SANE_Word word = 290;
    SANE_Int info = untouched;
    EXPECT_EQ(control(2, SANE_ACTION_SET_VALUE, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 300);
    EXPECT_EQ(info, SANE_INFO_INEXACT);
    EXPECT_EQ(scripted::record(),
              (texts{"kx_scanner_get_status(0x100000002,0)", "kx_scanner_set_parameter(0x100000002,2,22010000,4)",
                     "Info: -->Set option(2 - Number) value: 290(Applied: 300)"}));
}

TEST_F(set_option, an_array_goes_whole)
{
    scripted::set_option(1, "gammas", R"({"type":"int","size":12})");
    open_device();
    scripted::forget_record();
    SANE_Word words[] = {1, 2, 3};
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, words), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::calls_of("kx_scanner_set_parameter"),
              (texts{"kx_scanner_set_parameter(0x100000002,1,010000000200000003000000,12)"}));
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(1 - ) value: 1"}));
}

TEST_F(set_option, a_text_goes_as_it_is_with_the_options_size)
{
    open_samples();
    char text[20] = "hello";
    EXPECT_EQ(control(4, SANE_ACTION_SET_VALUE, text), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::record(),
              (texts{"kx_scanner_get_status(0x100000002,0)", "kx_scanner_set_parameter(0x100000002,4,\"hello\",20)",
                     "Info: -->Set option(4 - Text) value: hello"}));
}

TEST_F(set_option, a_text_may_end_right_behind_its_terminator)
{
    open_samples();
    const guarded_memory text = guarded_memory::of_text("ab");
    EXPECT_EQ(control(4, SANE_ACTION_SET_VALUE, text.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::writes().at(0).data, (scripted::bytes{'a', 'b'}));
}

TEST_F(set_option, a_text_is_adjusted_in_place)
{
    open_samples();
    scripted::answer_write("text", 261, scripted::bytes{'h', 'i', 0});
    char text[20] = "hello";
    EXPECT_EQ(control(4, SANE_ACTION_SET_VALUE, text), SANE_STATUS_GOOD);
    EXPECT_STREQ(text, "hi");
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(4 - Text) value: hello(Applied: hi)"}));
}

TEST_F(set_option, a_button_needs_no_value)
{
    open_samples();
    SANE_Int info = untouched;
    EXPECT_EQ(control(5, SANE_ACTION_SET_VALUE, nullptr, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(scripted::record(),
              (texts{"kx_scanner_get_status(0x100000002,0)", "kx_scanner_set_parameter(0x100000002,5,null,0)",
                     "Info: -->Set option(5 - Press) value: Button"}));
}

TEST_F(set_option, everything_but_a_button_needs_a_value)
{
    open_samples();
    const char *const titles[] = {"Flag", "Number", "Real", "Text", "", "Heading"};
    for (const SANE_Int number : {1, 2, 3, 4, 6}) {
        scripted::forget_record();
        EXPECT_EQ(control(number, SANE_ACTION_SET_VALUE, nullptr), SANE_STATUS_INVAL) << number;
        EXPECT_EQ(scripted::record(),
                  (texts{"kx_scanner_get_status(0x100000002,0)", "Warn: Option descriptor " + std::to_string(number) +
                                                                     "(" + titles[number - 1] + ") need a value!."}));
    }
}

TEST_F(set_option, the_key_goes_to_the_driver_as_it_is)
{
    scripted::set_option(1, "mode", R"({"type":"int","size":4,"title":"Mode"})");
    open_device();
    scripted::forget_record();
    const char *name = "mode";
    SANE_Word word = 5;
    EXPECT_EQ(control(name, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(control(34819, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::calls_of("kx_scanner_set_parameter"),
              (texts{"kx_scanner_set_parameter(0x100000002,mode,05000000,4)",
                     "kx_scanner_set_parameter(0x100000002,34819,05000000,4)"}));
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(" + key_in_log(name) + " - Mode) value: 5",
                                            "Info: -->Set option(34819 - Mode) value: 5"}));
}

// ----- automatic values -----

TEST_F(set_option, automatic_sets_the_default)
{
    open_samples();
    struct {
        SANE_Int number;
        const char *title, *sent, *shown;
    } const cases[] = {
        {1, "Flag", "01,1", "true"},
        {2, "Number", "4b000000,4", "75"},
        {3, "Real", "0000000000000440,8", "2.500000"},
        {4, "Text", "\"abc\",20", "abc"},
    };
    for (const auto &c : cases) {
        scripted::forget_record();
        const std::string number = std::to_string(c.number);
        EXPECT_EQ(control(c.number, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD) << c.title;
        EXPECT_EQ(scripted::calls_of("kx_scanner_set_parameter"),
                  (texts{"kx_scanner_set_parameter(0x100000002," + number + "," + c.sent + ")"}));
        EXPECT_EQ(
            scripted::log_lines(),
            (texts{"Warn: Option " + number + "(" + c.title + ") call SANE_ACTION_SET_AUTO, we set default value.",
                   "Info: -->Set option(" + number + " - " + c.title + ") value: " + c.shown}));
    }
}

TEST_F(set_option, automatic_leaves_the_default_in_the_callers_buffer)
{
    open_samples();
    SANE_Word word = 5;
    EXPECT_EQ(control(2, SANE_ACTION_SET_AUTO, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 75);
    char text[20] = "longer text";
    EXPECT_EQ(control(4, SANE_ACTION_SET_AUTO, text), SANE_STATUS_GOOD);
    EXPECT_EQ(std::string(text, 11), std::string("abc\0er text", 11)); // the text's own bytes are copied
}

TEST_F(set_option, automatic_may_be_adjusted_too)
{
    open_samples();
    scripted::answer_write("number", 261, bytes_of(SANE_Word{100}));
    SANE_Int info = untouched;
    EXPECT_EQ(control(2, SANE_ACTION_SET_AUTO, nullptr, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_INEXACT);
    EXPECT_EQ(scripted::log_lines().back(), "Info: -->Set option(2 - Number) value: 75(Applied: 100)");
}

TEST_F(set_option, automatic_is_unsupported_where_the_driver_forbids_it)
{
    open_with("opt", R"({"type":"int","size":4,"title":"Opt","auto":false,"default":7})");
    SANE_Word word = 5;
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, &word), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(word, 5);
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_UNSUPPORTED);
    EXPECT_TRUE(scripted::writes().empty());
    EXPECT_EQ(times_logged("Warn: Option 1(Opt) call SANE_ACTION_SET_AUTO, we set default value."), 2);
}

TEST_F(set_option, automatic_is_unsupported_without_a_default)
{
    open_samples();
    scripted::remove_option(2);
    EXPECT_EQ(control(2, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_UNSUPPORTED);
    EXPECT_TRUE(scripted::writes().empty());
}

TEST_F(set_option, automatic_on_a_button_presses_it)
{
    open_samples();
    EXPECT_EQ(control(5, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::calls_of("kx_scanner_set_parameter"),
              (texts{"kx_scanner_set_parameter(0x100000002,5,null,0)"}));
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(5 - Press) value: Button"}));
}

TEST_F(set_option, automatic_on_a_group_has_no_default_either)
{
    open_samples();
    EXPECT_EQ(control(6, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_INVAL);
    EXPECT_EQ(scripted::log_lines(), (texts{"Warn: Option descriptor 6(Heading) need a value!."}));
    EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter").empty());
}

// ----- the driver's answer -----

TEST_F(set_option, result_codes_become_status_and_info)
{
    open_samples();
    EXPECT_EQ(set_answered(0), set_answer(SANE_STATUS_GOOD, 0));
    EXPECT_EQ(set_answered(260), set_answer(SANE_STATUS_GOOD, 0));
    EXPECT_EQ(set_answered(261), set_answer(SANE_STATUS_GOOD, SANE_INFO_INEXACT));
    EXPECT_EQ(set_answered(262), set_answer(SANE_STATUS_GOOD, SANE_INFO_RELOAD_OPTIONS));
    EXPECT_EQ(set_answered(277), set_answer(SANE_STATUS_GOOD, SANE_INFO_RELOAD_PARAMS));
    EXPECT_EQ(set_answered(278), set_answer(SANE_STATUS_GOOD, SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS));
    EXPECT_EQ(set_answered(259), set_answer(SANE_STATUS_ACCESS_DENIED, 0));
    const std::pair<int, int> failures[] = {{256, 4},    {258, 10},   {266, 5},    {268, 4},    {269, 9},
                                            {270, 9},    {0xDE01, 1}, {0xDE02, 3}, {0xDE06, 8}, {0xDE07, 7},
                                            {0xDE0A, 6}, {276, 276},  {999, 999},  {-1, -1}};
    for (const auto &[code, status] : failures)
        EXPECT_EQ(set_answered(code), set_answer(status, 0)) << code;
}

TEST_F(set_option, the_info_word_may_be_left_out)
{
    open_samples();
    for (const int code : {0, 259, 261, 262, 277, 278, 269}) {
        scripted::answer("kx_scanner_set_parameter", code, 1);
        scripted::forget_record();
        set_word(2, 300);
        EXPECT_EQ(scripted::writes().size(), 1U) << code;
    }
}

TEST_F(set_option, a_refused_set_is_logged_as_any_other)
{
    open_samples();
    set_answered(259);
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(2 - Number) value: 300"}));
}

TEST_F(set_option, a_change_of_other_options_reloads_the_table)
{
    open_samples();
    const auto *option = descriptor(3);
    scripted::set_option(3, "real", R"({"type":"int","size":8,"title":"No longer real"})");
    set_answered(262);
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(2 - Number) value: 300",
                                            "Debug: the setting 'Number' affects other options value, RELOAD ..."}));
    EXPECT_EQ(scripted::calls_of("kx_scanner_get_parameter").size(), 7U); // the count and six options
    EXPECT_EQ(descriptor(3), option);
    EXPECT_EQ(option->size, 8);
    EXPECT_STREQ(option->title, "No longer real");
}

TEST_F(set_option, a_change_of_the_image_reloads_nothing)
{
    open_samples();
    set_answered(277);
    EXPECT_EQ(scripted::log_lines(),
              (texts{"Info: -->Set option(2 - Number) value: 300",
                     "Debug: the setting 'Number' affects image parameter, APP should re-get ..."}));
    EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter").empty());
}

TEST_F(set_option, a_change_of_both_reloads_the_table)
{
    open_samples();
    set_answered(278);
    EXPECT_EQ(
        scripted::log_lines(),
        (texts{"Info: -->Set option(2 - Number) value: 300",
               "Debug: the setting 'Number' affects image parameter and options, APP should re-get image info and "
               "reload options..."}));
    EXPECT_EQ(scripted::calls_of("kx_scanner_get_parameter").size(), 7U);
}

TEST_F(set_option, the_language_option_does_not_reload)
{
    scripted::set_option(1, "language", R"({"type":"int","size":4,"title":"Language"})");
    scripted::set_option(2, "other", R"({"type":"int","size":4})");
    open_device();
    const std::pair<int, SANE_Int> answers[] = {{262, 2}, {278, 6}};
    for (const auto &[code, flags] : answers) {
        scripted::forget_record();
        scripted::answer("kx_scanner_set_parameter", code, 3);
        SANE_Int info = untouched;
        EXPECT_EQ(set_word(1, 2, &info), SANE_STATUS_GOOD);
        EXPECT_EQ(info, flags);
        SANE_Word word = 2;
        EXPECT_EQ(control("language", SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD);
        EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter").empty()) << code;
        set_word(2, 2);
        EXPECT_FALSE(scripted::calls_of("kx_scanner_get_parameter").empty()) << code;
    }
}

TEST_F(set_option, a_language_option_by_identifier_does_not_reload)
{
    scripted::set_option(1, "tongue", R"({"type":"int","size":4,"fix-id":34908})");
    open_device();
    scripted::forget_record();
    scripted::answer("kx_scanner_set_parameter", 262, 1);
    set_word(1, 2);
    EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter").empty());
}

TEST_F(set_option, other_changes_leave_the_cached_value_alone)
{
    scripted::set_option(1, "master", R"({"type":"int","size":4,"cur":1})");
    scripted::set_option(2, "slave", R"({"type":"int","size":4,"depend_and":["master==2"]})");
    open_device();
    for (const int code : {260, 262, 277, 278}) {
        scripted::answer("kx_scanner_set_parameter", code, 1);
        set_word(1, 2);
        EXPECT_FALSE(is_active("slave")) << code;
    }
    set_word(1, 2);
    EXPECT_TRUE(is_active("slave"));
}

TEST_F(set_option, an_adjusted_set_propagates_too)
{
    scripted::set_option(1, "master", R"({"type":"int","size":4,"cur":1})");
    scripted::set_option(2, "slave", R"({"type":"int","size":4,"depend_and":["master==2"]})");
    open_device();
    scripted::answer("kx_scanner_set_parameter", 261, 1);
    SANE_Int info = untouched;
    set_word(1, 2, &info);
    EXPECT_EQ(info, SANE_INFO_INEXACT | SANE_INFO_RELOAD_OPTIONS);
    EXPECT_TRUE(is_active("slave"));
}

// ----- what is not in the table -----

TEST_F(set_option, information_items_are_written_under_their_names)
{
    open_samples();
    std::string name(255, '\0');
    name.replace(0, 4, "desk");
    SANE_Int info = untouched;
    EXPECT_EQ(control(34900, SANE_ACTION_SET_VALUE, name.data(), &info), SANE_STATUS_GOOD);
    EXPECT_EQ(control(34900, SANE_ACTION_SET_AUTO, name.data(), &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, untouched);
    EXPECT_EQ(
        scripted::record(),
        (texts{"kx_scanner_get_status(0x100000002,0)", "kx_scanner_set_parameter(0x100000002,dev-name,\"desk\",255)",
               "kx_scanner_get_status(0x100000002,0)", "kx_scanner_set_parameter(0x100000002,dev-name,\"desk\",255)"}));
}

TEST_F(set_option, information_items_answer_by_the_table_of_codes)
{
    open_samples();
    const std::pair<int, int> answers[] = {{256, 4}, {259, 11}, {261, 0}, {262, 0}, {278, 0}, {269, 9}, {999, 999}};
    for (const auto &[code, status] : answers) {
        scripted::answer("kx_scanner_set_parameter", code, 1);
        SANE_Word word = 5;
        EXPECT_EQ(control(34889, SANE_ACTION_SET_VALUE, &word), status) << code;
    }
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(set_option, unknown_options_are_unsupported)
{
    open_samples();
    const char *name = "nobody";
    SANE_Word word = 5;
    EXPECT_EQ(control(999, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(control(34908, SANE_ACTION_SET_AUTO, &word), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(control(name, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(control(999, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(scripted::log_lines(),
              (texts{"Critical: Option descriptor 999 not found.", "Critical: Option descriptor 34908 not found.",
                     "Critical: Option descriptor " + key_in_log(name) + " not found.",
                     "Critical: Option descriptor 999 not found."}));
    EXPECT_TRUE(scripted::writes().empty());
}

TEST_F(set_option, unknown_options_are_unsupported_without_a_mapper_too)
{
    scripted::set_option(1, "opt", R"({"type":"int","size":4})");
    open_listening_device();
    scripted::forget_record();
    SANE_Word word = 5;
    EXPECT_EQ(control(2, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(scripted::log_lines(), (texts{"Critical: Option descriptor 2 not found."}));
    EXPECT_EQ(control(34900, SANE_ACTION_SET_VALUE, std::string(255, 'n').data()), SANE_STATUS_GOOD);
}

TEST_F(set_option, an_option_that_was_never_described_is_not_set)
{
    open_samples();
    scripted::set_option(9, "late", R"({"type":"int","size":4})");
    SANE_Word word = 5;
    EXPECT_EQ(control(9, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_UNSUPPORTED);
    EXPECT_TRUE(scripted::writes().empty());
}
