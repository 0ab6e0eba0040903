// SPDX-License-Identifier: MIT
// What the virtual scanner is told from outside, in words. A text is refused with the place of the mistake, or its
// commands can be spelled out again, and that is understood as the same.
#include "command.h"
#include "input.h"
#include "oracle.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace {

using namespace virtual_scanner;

std::string times_of(int times)
{
    return times == always ? " always" : " " + std::to_string(times) + " times";
}

std::string in_brackets(const std::string &option)
{
    return option.empty() ? "" : "(" + option + ")";
}

std::string spelled(const call_answer &fault)
{
    static constexpr const char *calls[] = {"initialize",    "enum",          "open",        "close",
                                            "get_parameter", "set_parameter", "get_status",  "control",
                                            "start",         "read_img_data", "get_img_info"};
    if (fault.asks)
        return "ask" + times_of(fault.times);
    return calls[static_cast<std::size_t>(fault.call)] + in_brackets(fault.option) + " from " +
           std::to_string(fault.from) + (fault.page != 0 ? " at page " + std::to_string(fault.page) : "") +
           " answers " + std::to_string(fault.answer) + times_of(fault.times);
}

std::string spelled(const job_fault &fault)
{
    static constexpr const char *kinds[] = {"jam",   "stall",      "vanish",    "double feed",
                                            "empty", "cover open", "slow start"};
    static constexpr const char *units[] = {"lines", "pages", "sheets"};
    const bool waits = fault.kind == job_fault_kind::stall || fault.kind == job_fault_kind::slow_start;
    const std::string after =
        fault.after != 0 ? " after " + std::to_string(fault.after) + " " + units[static_cast<std::size_t>(fault.unit)]
                         : "";
    return kinds[static_cast<std::size_t>(fault.kind)] +
           (waits ? " " + std::to_string(fault.time.count()) + " ms" : "") + after +
           (fault.kind != job_fault_kind::vanish ? times_of(fault.times) : "");
}

std::string spelled(const text_fault &fault)
{
    static constexpr const char *kinds[] = {"broken", "empty", "unterminated", "misnamed", "overlong"};
    if (fault.kind == text_fault_kind::too_small)
        return "too small" + in_brackets(fault.option) + times_of(fault.times);
    return "garbage" + in_brackets(fault.option) + " as " + kinds[static_cast<std::size_t>(fault.kind)] +
           times_of(fault.times);
}

std::string spelled(remedy which)
{
    static constexpr const char *remedies[] = {"cover closed", "filled", "return", "clear"};
    return remedies[static_cast<std::size_t>(which)];
}

std::string spelled(const event_order &order)
{
    static constexpr const char *events[] = {"button",       "paper-in", "paper-out", "cover-open",
                                             "cover-closed", "sleep",    "wake"};
    const auto *const known = std::get_if<event_kind>(&order.event);
    const std::string event =
        known != nullptr ? events[static_cast<std::size_t>(*known)] : std::to_string(std::get<int>(order.event));
    const bool is_button = known != nullptr && *known == event_kind::button;
    const auto ms = [](auto time) { return std::to_string(time.count()) + " ms"; };
    return "event " + event + (is_button ? " " + std::to_string(order.button) : "") + " after " + ms(order.after) +
           (order.every.count() != 0 ? " every " + ms(order.every) + times_of(order.times) : "");
}

std::string spelled(const std::vector<command> &commands)
{
    std::string text;
    for (const command &each : commands) {
        text += each.device.empty() ? "" : "on " + each.device + " ";
        text += std::visit([](const auto &action) { return spelled(action); }, each.action) + '\n';
    }
    return text;
}

std::optional<std::vector<command>> read(const std::string &text)
{
    try {
        return parse_commands(text);
    } catch (const command_error &error) {
        require(std::strncmp(error.what(), "line ", std::strlen("line ")) == 0, "a reason begins with the place");
        return std::nullopt;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto commands = read(input(data, size).rest());
    if (!commands)
        return 0;
    const std::string text = spelled(*commands);
    const auto again = read(text);
    require(again && again->size() == commands->size(), "commands that are spelled out are understood");
    require(spelled(*again) == text, "and understood as the same");
    return 0;
}
