// SPDX-License-Identifier: MIT
// The grammar: the first word says which kind of command it is, and a function for each kind takes the rest. Whatever
// is left over or missing is a mistake with its place; a text with one mistake gives no command at all.
// Tested by command_test.
#include "command.h"

#include "command_words.h"
#include "kx_scanner.h"

#include <sane/sane.h>

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace virtual_scanner {

namespace {

constexpr int most = 1000000000; // of whatever is counted

struct call_name {
    std::string_view name;
    driver_call call;
};

constexpr call_name calls[] = {
    {"initialize", driver_call::initialize},
    {"enum", driver_call::enumerate},
    {"open", driver_call::open},
    {"close", driver_call::close},
    {"get_parameter", driver_call::get_parameter},
    {"set_parameter", driver_call::set_parameter},
    {"get_status", driver_call::get_status},
    {"control", driver_call::control},
    {"start", driver_call::start},
    {"read_img_data", driver_call::read_img_data},
    {"get_img_info", driver_call::get_img_info},
};

struct answer_name {
    std::string_view name;
    int code;
};

constexpr answer_name answers[] = {
    {"ok", SCANNER_ERR_OK},
    {"cancelled", SANE_STATUS_CANCELLED},
    {"invalid", SCANNER_ERR_INVALID_PARAMETER},
    {"no-memory", SCANNER_ERR_INSUFFICIENT_MEMORY},
    {"denied", SCANNER_ERR_ACCESS_DENIED},
    {"adjusted", SCANNER_ERR_NOT_EXACT},
    {"options-changed", SCANNER_ERR_CONFIGURATION_CHANGED},
    {"no-data", SCANNER_ERR_NO_DATA},
    {"invalid-state", SCANNER_ERR_INVALID_STATE},
    {"io", SCANNER_ERR_IO},
    {"io-write", SCANNER_ERR_IO_2},
    {"not-ready", SCANNER_ERR_NOT_READY},
    {"image-changed", SCANNER_ERR_RELOAD_IMAGE_PARAM},
    {"both-changed", SCANNER_ERR_RELOAD_OPT_PARAM},
    {"gone", SCANNER_ERR_DEVICE_NOT_FOUND},
    {"unsupported", SCANNER_ERR_DEVICE_NOT_SUPPORT},
    {"busy", SCANNER_ERR_DEVICE_BUSY},
    {"cover-open", SCANNER_ERR_DEVICE_COVER_OPENNED},
    {"no-paper", SCANNER_ERR_DEVICE_NO_PAPER},
    {"jammed", SCANNER_ERR_DEVICE_PAPER_JAMMED},
};

struct unit_name {
    std::string_view name;
    job_unit unit;
};

constexpr unit_name units[] = {
    {"lines", job_unit::lines}, {"line", job_unit::lines},    {"pages", job_unit::pages},
    {"page", job_unit::pages},  {"sheets", job_unit::sheets}, {"sheet", job_unit::sheets},
};

struct garbage_name {
    std::string_view name;
    text_fault_kind kind;
};

constexpr garbage_name garbages[] = {
    {"broken", text_fault_kind::broken},     {"empty", text_fault_kind::empty},
    {"misnamed", text_fault_kind::misnamed}, {"unterminated", text_fault_kind::unterminated},
    {"overlong", text_fault_kind::overlong},
};

struct event_name {
    std::string_view name;
    event_kind event;
};

constexpr event_name event_names[] = {
    {"button", event_kind::button},
    {"paper-in", event_kind::paper_in},
    {"paper-out", event_kind::paper_out},
    {"cover-open", event_kind::cover_open},
    {"cover-closed", event_kind::cover_closed},
    {"sleep", event_kind::sleep},
    {"wake", event_kind::wake},
};

std::string read_option(command_words &words)
{
    if (!words.accept({"("}))
        return {};
    std::string option(words.take("an option"));
    if (option == "(" || option == ")")
        words.fail_at_last("an option is expected");
    words.expect(")");
    return option;
}

int read_answer(command_words &words)
{
    return words.is_number_next() ? words.code("an answer") : words.one_of(answers, "an answer").code;
}

int read_times(command_words &words, int otherwise)
{
    if (words.accept({"always"}))
        return always;
    if (words.accept({"once"}))
        return 1;
    if (!words.is_number_next())
        return otherwise;
    const int times = words.number(1, most, "a number of times");
    if (!words.accept({"time"}))
        words.expect("times");
    return times;
}

bool has_option(driver_call call)
{
    return call == driver_call::get_parameter || call == driver_call::set_parameter;
}

bool has_page(driver_call call)
{
    return call == driver_call::start || call == driver_call::read_img_data || call == driver_call::get_img_info;
}

void read_page(command_words &words, call_answer &fault)
{
    if (!words.accept({"at", "page"}))
        return;
    if (!has_page(fault.call))
        words.fail_at_last("only start, read_img_data and get_img_info have a page");
    fault.page = words.number(1, most, "a page");
}

// CALL [(OPTION)] [from N] [at page N] answers ANSWER [TIMES]
call_answer read_call(command_words &words)
{
    call_answer fault;
    fault.call = words.one_of(calls, "a command").call;
    fault.option = read_option(words);
    if (!fault.option.empty() && !has_option(fault.call))
        words.fail_at_last("only get_parameter and set_parameter have an option");
    if (words.accept({"from"}))
        fault.from = words.number(1, most, "a number of calls");
    read_page(words, fault);
    words.expect("answers");
    fault.answer = read_answer(words);
    fault.times = read_times(words, 1);
    return fault;
}

call_answer read_status(command_words &words)
{
    call_answer fault;
    fault.call = driver_call::get_status;
    fault.answer = read_answer(words);
    fault.times = read_times(words, always);
    return fault;
}

call_answer read_denial(command_words &words, bool asks)
{
    call_answer fault;
    fault.call = driver_call::open;
    fault.answer = SCANNER_ERR_ACCESS_DENIED;
    fault.asks = asks;
    fault.times = read_times(words, asks ? 1 : always);
    return fault;
}

job_fault read_job_fault(command_words &words, job_fault_kind kind, int times)
{
    job_fault fault;
    fault.kind = kind;
    if (kind == job_fault_kind::stall || kind == job_fault_kind::slow_start)
        fault.time = words.time();
    if (words.accept({"after"})) {
        fault.after = words.number(0, most, "a number of lines, pages or sheets");
        fault.unit = words.one_of(units, "\"lines\", \"pages\" or \"sheets\"").unit;
        if (!is_in_page(kind) && fault.unit == job_unit::lines)
            words.fail_at_last("this happens between pages: \"pages\" or \"sheets\" is expected");
    }
    fault.times = kind == job_fault_kind::vanish ? 1 : read_times(words, times);
    return fault;
}

text_fault read_text_fault(command_words &words, bool is_garbage)
{
    text_fault fault;
    fault.kind = is_garbage ? text_fault_kind::broken : text_fault_kind::too_small;
    fault.option = read_option(words);
    if (is_garbage && words.accept({"as"}))
        fault.kind =
            words.one_of(garbages, "\"broken\", \"empty\", \"misnamed\", \"unterminated\" or \"overlong\"").kind;
    fault.times = read_times(words, is_garbage ? always : 1);
    return fault;
}

event_order read_event(command_words &words)
{
    event_order order;
    if (words.is_number_next())
        order.event = words.code("an event");
    else
        order.event = words.one_of(event_names, "an event").event;
    if (order.event == std::variant<event_kind, int>(event_kind::button) && words.is_number_next())
        order.button = words.number(1, 255, "a button");
    if (words.accept({"after"}))
        order.after = words.time();
    if (!words.accept({"every"}))
        return order;
    order.every = words.time();
    if (order.every.count() == 0)
        words.fail_at_last("a time above 0 is expected");
    order.times = read_times(words, always);
    return order;
}

using action = decltype(command::action);

template <job_fault_kind kind, int times> action read_job(command_words &words)
{
    return read_job_fault(words, kind, times);
}

template <remedy which> action read_remedy(command_words &)
{
    return which;
}

// What a command begins with, unless it is a call's name.
struct beginning {
    std::string_view first;
    std::string_view second; // may be empty
    action (*read_rest)(command_words &words);
};

constexpr beginning beginnings[] = {
    {"jam", "", read_job<job_fault_kind::jam, 1>},
    {"stall", "", read_job<job_fault_kind::stall, 1>},
    {"vanish", "", read_job<job_fault_kind::vanish, 1>},
    {"double", "feed", read_job<job_fault_kind::double_feed, 1>},
    {"empty", "", read_job<job_fault_kind::empty, 1>},
    {"cover", "open", read_job<job_fault_kind::cover_open, always>},
    {"slow", "start", read_job<job_fault_kind::slow_start, always>},
    {"deny", "", [](command_words &words) -> action { return read_denial(words, false); }},
    {"ask", "", [](command_words &words) -> action { return read_denial(words, true); }},
    {"status", "", [](command_words &words) -> action { return read_status(words); }},
    {"garbage", "", [](command_words &words) -> action { return read_text_fault(words, true); }},
    {"too", "small", [](command_words &words) -> action { return read_text_fault(words, false); }},
    {"event", "", [](command_words &words) -> action { return read_event(words); }},
    {"cover", "closed", read_remedy<remedy::cover_closed>},
    {"filled", "", read_remedy<remedy::feeder_filled>},
    {"return", "", read_remedy<remedy::device_returned>},
    {"clear", "", read_remedy<remedy::everything_cleared>},
};

action read_action(command_words &words)
{
    for (const beginning &known : beginnings)
        if (known.second.empty() ? words.accept({known.first}) : words.accept({known.first, known.second}))
            return known.read_rest(words);
    return read_call(words);
}

// initialize and enum are made for no device in particular.
void check_device(const command &read, const command_words &words)
{
    const auto *fault = std::get_if<call_answer>(&read.action);
    const bool is_of_driver = fault != nullptr && is_call_of_driver(fault->call);
    if (is_of_driver && !read.device.empty())
        words.fail_at_start("initialize and enum are not calls of a device");
}

command read_command(command_words &words)
{
    command read;
    if (words.accept({"on"}))
        read.device = words.take("a device's name");
    read.action = read_action(words);
    if (!words.is_at_end())
        words.fail_at_next("the command's end");
    check_device(read, words);
    return read;
}

} // namespace

bool is_call_of_driver(driver_call call)
{
    return call == driver_call::initialize || call == driver_call::enumerate;
}

bool is_in_page(job_fault_kind kind)
{
    return kind == job_fault_kind::jam || kind == job_fault_kind::stall || kind == job_fault_kind::vanish;
}

std::vector<command> parse_commands(std::string_view text)
{
    std::vector<command> commands;
    for (command_words &words : split_commands(text))
        commands.push_back(read_command(words));
    return commands;
}

} // namespace virtual_scanner
