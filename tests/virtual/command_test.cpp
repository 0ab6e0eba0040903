// SPDX-License-Identifier: MIT
// The language in which the virtual scanner is told about faults and events: what it understands, and what it says to
// the rest.
#include "command.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace virtual_scanner {

static bool operator==(const call_answer &one, const call_answer &other)
{
    return std::tie(one.call, one.option, one.from, one.page, one.answer, one.asks, one.times) ==
           std::tie(other.call, other.option, other.from, other.page, other.answer, other.asks, other.times);
}

static bool operator==(const job_fault &one, const job_fault &other)
{
    return std::tie(one.kind, one.after, one.unit, one.time, one.times) ==
           std::tie(other.kind, other.after, other.unit, other.time, other.times);
}

static bool operator==(const text_fault &one, const text_fault &other)
{
    return std::tie(one.kind, one.option, one.times) == std::tie(other.kind, other.option, other.times);
}

static bool operator==(const event_order &one, const event_order &other)
{
    return std::tie(one.event, one.button, one.after, one.every, one.times) ==
           std::tie(other.event, other.button, other.after, other.every, other.times);
}

namespace {

using namespace std::chrono_literals;
using action = decltype(command::action);

struct good_text {
    const char *text;
    action expected;
};

void expect_understood(const std::vector<good_text> &texts)
{
    for (const good_text &each : texts) {
        const auto commands = parse_commands(each.text);
        ASSERT_EQ(1U, commands.size()) << each.text;
        EXPECT_EQ("", commands[0].device) << each.text;
        EXPECT_TRUE(commands[0].action == each.expected) << each.text;
    }
}

std::string complaint_about(const std::string &text)
{
    try {
        parse_commands(text);
        return "none";
    } catch (const command_error &error) {
        return error.what();
    }
}

struct bad_text {
    const char *text;
    const char *complaint;
};

void expect_complaints(const std::vector<bad_text> &texts)
{
    for (const bad_text &each : texts)
        EXPECT_EQ(each.complaint, complaint_about(each.text)) << each.text;
}

} // namespace

TEST(command, makes_any_call_answer_a_code)
{
    using call = driver_call;
    expect_understood({
        {"initialize answers 269", call_answer{call::initialize, "", 1, 0, 269, false, 1}},
        {"enum answers io always", call_answer{call::enumerate, "", 1, 0, 269, false, always}},
        {"open answers busy", call_answer{call::open, "", 1, 0, 0xDE02, false, 1}},
        {"close answers 270", call_answer{call::close, "", 1, 0, 270, false, 1}},
        {"get_parameter(mode) answers invalid", call_answer{call::get_parameter, "mode", 1, 0, 256, false, 1}},
        {"set_parameter(resolution) answers 259 always",
         call_answer{call::set_parameter, "resolution", 1, 0, 259, false, always}},
        {"set_parameter ( 12 ) answers 0x116 1 time", call_answer{call::set_parameter, "12", 1, 0, 278, false, 1}},
        {"get_status answers 1000", call_answer{call::get_status, "", 1, 0, 1000, false, 1}},
        {"control answers unsupported", call_answer{call::control, "", 1, 0, 0xDE01, false, 1}},
        {"start from 3 answers 0xDE0A once", call_answer{call::start, "", 3, 0, 0xDE0A, false, 1}},
        {"start answers 0xde0a", call_answer{call::start, "", 1, 0, 0xDE0A, false, 1}},
        {"read_img_data from 2 at page 4 answers io 2 times",
         call_answer{call::read_img_data, "", 2, 4, 269, false, 2}},
        {"get_img_info at page 2 answers 2147483647", call_answer{call::get_img_info, "", 1, 2, 2147483647, false, 1}},
        {"status 0xDE00", call_answer{call::get_status, "", 1, 0, 0xDE00, false, always}},
        {"status gone once", call_answer{call::get_status, "", 1, 0, 0xDE00, false, 1}},
        {"deny", call_answer{call::open, "", 1, 0, 259, false, always}},
        {"deny 3 times", call_answer{call::open, "", 1, 0, 259, false, 3}},
        {"ask", call_answer{call::open, "", 1, 0, 259, true, 1}},
        {"ask always", call_answer{call::open, "", 1, 0, 259, true, always}},
    });
}

TEST(command, knows_answers_by_name)
{
    const std::vector<std::pair<const char *, int>> names{
        {"ok", 0},
        {"cancelled", 2},
        {"invalid", 256},
        {"no-memory", 258},
        {"denied", 259},
        {"adjusted", 261},
        {"options-changed", 262},
        {"no-data", 266},
        {"invalid-state", 268},
        {"io", 269},
        {"io-write", 270},
        {"not-ready", 276},
        {"image-changed", 277},
        {"both-changed", 278},
        {"gone", 0xDE00},
        {"unsupported", 0xDE01},
        {"busy", 0xDE02},
        {"cover-open", 0xDE06},
        {"no-paper", 0xDE07},
        {"jammed", 0xDE0A},
    };
    for (const auto &[name, code] : names) {
        const auto commands = parse_commands(std::string("start answers ") + name);
        ASSERT_EQ(1U, commands.size()) << name;
        EXPECT_EQ(code, std::get<call_answer>(commands[0].action).answer) << name;
    }
}

TEST(command, makes_trouble_in_a_job)
{
    using kind = job_fault_kind;
    expect_understood({
        {"jam", job_fault{kind::jam, 0, job_unit::lines, 0ms, 1}},
        {"jam after 100 lines", job_fault{kind::jam, 100, job_unit::lines, 0ms, 1}},
        {"jam after 1 line 2 times", job_fault{kind::jam, 1, job_unit::lines, 0ms, 2}},
        {"jam after 2 pages always", job_fault{kind::jam, 2, job_unit::pages, 0ms, always}},
        {"stall 500 ms after 10 lines", job_fault{kind::stall, 10, job_unit::lines, 500ms, 1}},
        {"stall 2 s after 1 sheet always", job_fault{kind::stall, 1, job_unit::sheets, 2000ms, always}},
        {"stall 3600 s", job_fault{kind::stall, 0, job_unit::lines, 3600000ms, 1}},
        {"vanish", job_fault{kind::vanish, 0, job_unit::lines, 0ms, 1}},
        {"vanish after 50 lines", job_fault{kind::vanish, 50, job_unit::lines, 0ms, 1}},
        {"double feed after 1 sheet", job_fault{kind::double_feed, 1, job_unit::sheets, 0ms, 1}},
        {"empty", job_fault{kind::empty, 0, job_unit::lines, 0ms, 1}},
        {"empty after 2 sheets", job_fault{kind::empty, 2, job_unit::sheets, 0ms, 1}},
        {"empty after 3 pages always", job_fault{kind::empty, 3, job_unit::pages, 0ms, always}},
        {"cover open", job_fault{kind::cover_open, 0, job_unit::lines, 0ms, always}},
        {"cover open after 1 page once", job_fault{kind::cover_open, 1, job_unit::pages, 0ms, 1}},
        {"slow start 300 ms", job_fault{kind::slow_start, 0, job_unit::lines, 300ms, always}},
        {"cover closed", remedy::cover_closed},
        {"filled", remedy::feeder_filled},
        {"return", remedy::device_returned},
        {"clear", remedy::everything_cleared},
    });
}

TEST(command, spoils_option_texts)
{
    using kind = text_fault_kind;
    expect_understood({
        {"garbage(resolution)", text_fault{kind::broken, "resolution", always}},
        {"garbage", text_fault{kind::broken, "", always}},
        {"garbage(3) as broken once", text_fault{kind::broken, "3", 1}},
        {"garbage(mode) as empty", text_fault{kind::empty, "mode", always}},
        {"garbage(mode) as misnamed 2 times", text_fault{kind::misnamed, "mode", 2}},
        {"garbage as unterminated", text_fault{kind::unterminated, "", always}},
        {"garbage as overlong", text_fault{kind::overlong, "", always}},
        {"too small(paper)", text_fault{kind::too_small, "paper", 1}},
        {"too small 3 times", text_fault{kind::too_small, "", 3}},
    });
}

TEST(command, orders_events)
{
    expect_understood({
        {"event button", event_order{event_kind::button, 1, 0ms, 0ms, 1}},
        {"event button 2 after 500 ms", event_order{event_kind::button, 2, 500ms, 0ms, 1}},
        {"event paper-in", event_order{event_kind::paper_in, 1, 0ms, 0ms, 1}},
        {"event paper-out after 2 s", event_order{event_kind::paper_out, 1, 2000ms, 0ms, 1}},
        {"event cover-open every 1 s", event_order{event_kind::cover_open, 1, 0ms, 1000ms, always}},
        {"event cover-closed after 1 ms every 2 ms 3 times", event_order{event_kind::cover_closed, 1, 1ms, 2ms, 3}},
        {"event sleep", event_order{event_kind::sleep, 1, 0ms, 0ms, 1}},
        {"event wake", event_order{event_kind::wake, 1, 0ms, 0ms, 1}},
        {"event 0x123", event_order{0x123, 1, 0ms, 0ms, 1}},
    });
}

TEST(command, comes_with_others_and_with_comments)
{
    const auto commands = parse_commands("# both scanners\n"
                                         " jam ; ;empty after 2 sheets;;\r\n"
                                         "\t\n"
                                         "stall 1 s # for a moment; not: vanish\n"
                                         "clear");
    ASSERT_EQ(4U, commands.size());
    EXPECT_EQ(job_fault_kind::jam, std::get<job_fault>(commands[0].action).kind);
    EXPECT_EQ(job_fault_kind::empty, std::get<job_fault>(commands[1].action).kind);
    EXPECT_EQ(job_fault_kind::stall, std::get<job_fault>(commands[2].action).kind);
    EXPECT_EQ(remedy::everything_cleared, std::get<remedy>(commands[3].action));
}

TEST(command, is_for_the_device_that_it_names)
{
    const auto commands = parse_commands("on virtual:duplex-feeder jam;on a(b)#2 clear;vanish");
    ASSERT_EQ(3U, commands.size());
    EXPECT_EQ("virtual:duplex-feeder", commands[0].device);
    EXPECT_EQ("a(b)#2", commands[1].device);
    EXPECT_EQ("", commands[2].device);
}

TEST(command, may_be_missing)
{
    EXPECT_TRUE(parse_commands("").empty());
    EXPECT_TRUE(parse_commands(" ; \n;# nothing").empty());
}

TEST(command, that_is_unknown_is_told_with_its_place)
{
    expect_complaints({
        {"explode", "line 1, column 1: a command is expected and not \"explode\""},
        {"jam; explode", "line 1, column 6: a command is expected and not \"explode\""},
        {"jam\n\n  explode now", "line 3, column 3: a command is expected and not \"explode\""},
        {"stop answers io", "line 1, column 1: a command is expected and not \"stop\""},
        {"uninitialize answers io", "line 1, column 1: a command is expected and not \"uninitialize\""},
        {"Jam", "line 1, column 1: a command is expected and not \"Jam\""},
        {"double", "line 1, column 1: a command is expected and not \"double\""},
        {"cover shut", "line 1, column 1: a command is expected and not \"cover\""},
        {"(", "line 1, column 1: a command is expected and not \"(\""},
        {"on", "line 1, column 3: a device's name is expected and not the command's end"},
        {"on a", "line 1, column 5: a command is expected and not the command's end"},
        {"on a; jam", "line 1, column 5: a command is expected and not the command's end"},
        {"on a enum answers io", "line 1, column 1: initialize and enum are not calls of a device"},
        {"jam; on a initialize answers io", "line 1, column 6: initialize and enum are not calls of a device"},
    });
}

TEST(command, that_ends_early_or_late_is_told_with_its_place)
{
    expect_complaints({
        {"start", "line 1, column 6: \"answers\" is expected and not the command's end"},
        {"start answers", "line 1, column 14: an answer is expected and not the command's end"},
        {"start answers ;jam", "line 1, column 15: an answer is expected and not the command's end"},
        {"start answers # io", "line 1, column 19: an answer is expected and not the command's end"},
        {"start answers jam", "line 1, column 15: an answer is expected and not \"jam\""},
        {"start answers -1", "line 1, column 15: an answer is expected and not \"-1\""},
        {"start answers 0x", "line 1, column 15: a number up to 0x7FFFFFFF is expected"},
        {"start answers 2147483648", "line 1, column 15: a number up to 0x7FFFFFFF is expected"},
        {"start answers 12ab", "line 1, column 15: a number up to 0x7FFFFFFF is expected"},
        {"start answers io twice", "line 1, column 18: the command's end is expected and not \"twice\""},
        {"start answers io 2", "line 1, column 19: \"times\" is expected and not the command's end"},
        {"start answers io 0 times", "line 1, column 18: a number from 1 to 1000000000 is expected"},
        {"start from answers io", "line 1, column 12: a number of calls is expected and not \"answers\""},
        {"start from 0 answers io", "line 1, column 12: a number from 1 to 1000000000 is expected"},
        {"start at page x answers io", "line 1, column 15: a page is expected and not \"x\""},
        {"start at 2 answers io", "line 1, column 7: \"answers\" is expected and not \"at\""},
        {"open at page 2 answers io", "line 1, column 9: only start, read_img_data and get_img_info have a page"},
        {"start(mode) answers io", "line 1, column 11: only get_parameter and set_parameter have an option"},
        {"set_parameter() answers io", "line 1, column 15: an option is expected"},
        {"set_parameter(mode answers io", "line 1, column 20: \")\" is expected and not \"answers\""},
        {"set_parameter(", "line 1, column 15: an option is expected and not the command's end"},
        {"clear all", "line 1, column 7: the command's end is expected and not \"all\""},
    });
}

TEST(command, with_wrong_numbers_and_units_is_told_with_its_place)
{
    expect_complaints({
        {"jam after lines", "line 1, column 11: a number of lines, pages or sheets is expected and not \"lines\""},
        {"jam after 3", "line 1, column 12: \"lines\", \"pages\" or \"sheets\" is expected and not the command's end"},
        {"jam after 3 metres", "line 1, column 13: \"lines\", \"pages\" or \"sheets\" is expected and not \"metres\""},
        {"jam after 1000000001 lines", "line 1, column 11: a number from 0 to 1000000000 is expected"},
        {"jam after 99999999999999999999 lines", "line 1, column 11: a number from 0 to 1000000000 is expected"},
        {"empty after 100 lines", "line 1, column 17: this happens between pages: \"pages\" or \"sheets\" is expected"},
        {"vanish once", "line 1, column 8: the command's end is expected and not \"once\""},
        {"stall", "line 1, column 6: a time is expected and not the command's end"},
        {"stall 500", "line 1, column 10: \"ms\" or \"s\" is expected and not the command's end"},
        {"stall 500ms", "line 1, column 7: a number from 0 to 3600000 is expected"},
        {"stall 3601 s", "line 1, column 12: a time of up to an hour is expected"},
        {"stall 3600001 ms", "line 1, column 7: a number from 0 to 3600000 is expected"},
        {"slow start", "line 1, column 11: a time is expected and not the command's end"},
        {"garbage(mode) as rubbish", "line 1, column 18: \"broken\", \"empty\", \"misnamed\", \"unterminated\" or "
                                     "\"overlong\" is expected and not \"rubbish\""},
        {"too small(", "line 1, column 11: an option is expected and not the command's end"},
        {"event", "line 1, column 6: an event is expected and not the command's end"},
        {"event fire", "line 1, column 7: an event is expected and not \"fire\""},
        {"event button 256", "line 1, column 14: a number from 1 to 255 is expected"},
        {"event sleep 2", "line 1, column 13: the command's end is expected and not \"2\""},
        {"event wake every 0 ms", "line 1, column 20: a time above 0 is expected"},
        {"event wake 3 times", "line 1, column 12: the command's end is expected and not \"3\""},
    });
}

TEST(command, of_any_bytes_is_told_in_one_line_of_text)
{
    for (int i = 0; i < 256; ++i) {
        const std::string byte(1, static_cast<char>(i));
        for (const std::string &text : {byte, "on " + byte, "jam after 1" + byte + " lines", "start" + byte + "io"})
            for (const unsigned char each : complaint_about(text))
                ASSERT_TRUE(each >= 0x20 && each != 0x7f) << i;
    }
    EXPECT_EQ("line 1, column 1: a command is expected and not \"???\"", complaint_about(std::string(3, '\0')));
    EXPECT_EQ("line 1, column 1: a command is expected and not \"" + std::string(40, 'x') + "\"...",
              complaint_about(std::string(100000, 'x')));
}

} // namespace virtual_scanner
