// SPDX-License-Identifier: MIT
// Each of the driver's calls in a session answers each code once, and does nothing else.
#include "checks.h"
#include "platform.h"
#include "session.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <set>
#include <string>

namespace injection {
namespace {

using faulty_driver::call;

constexpr std::size_t fewest = 3000; // the loops must not become empty

struct code_status {
    int code;
    int status;
};

// What a code becomes where it is translated. The last three are in no table.
constexpr code_status codes[] = {
    {0, 0},     {256, 4},   {258, 10},  {259, 11},  {260, 0},   {261, 0},       {262, 0},
    {266, 5},   {268, 4},   {269, 9},   {270, 9},   {277, 0},   {278, 0},       {56833, 1},
    {56834, 3}, {56838, 8}, {56839, 7}, {56842, 6}, {300, 300}, {56832, 56832}, {-7, -7},
};

constexpr int io_error = 9;
constexpr int unsupported = 1;
constexpr int access_denied = 11;
constexpr int buffer_too_small = 258;
constexpr int device_gone = 56832;
constexpr long first_room = 1024; // that an option's text is fetched into

// Functions whose answer nobody looks at.
const std::set<std::string> ignored = {"set_sane_info", "initialize", "uninitialize", "close", "stop"};

// Whether an option's text arrives in spite of the code: a text that fits is fetched once more.
bool is_fetched(const call &made, int code)
{
    return code == buffer_too_small && made.code == 0 && made.room == first_room;
}

// What a step answers when its fetch of an option's text or of an item fails.
int status_without_text(const step &usual_step, const call &made, const code_status &answer)
{
    switch (usual_step.kind) {
    case request::read_log:
        return answer.status;
    case request::read:
        if (made.option == "dev-sn")
            return answer.code == 0 ? 0 : io_error;
        return is_fetched(made, answer.code) ? usual_step.status : io_error;
    case request::read_default:
    case request::write_default:
        return is_fetched(made, answer.code) ? usual_step.status : unsupported;
    default:
        return usual_step.status; // a reload does without the option, the count is then 0
    }
}

int expected_status(const step &usual_step, const call &made, const code_status &answer)
{
    if (ignored.count(made.function) != 0)
        return usual_step.status;
    if (made.function == "get_status")
        return answer.code == device_gone ? device_gone : usual_step.status;
    if (made.function == "open") // untranslated; a driver that opens nothing is as good as one that fails
        return answer.code == 259 ? access_denied : answer.code == 0 ? io_error : answer.code;
    if (made.function == "enum" && made.room == 0 && answer.code == buffer_too_small)
        return usual_step.status;
    if (made.function == "control" && !made.has_length) // a notice
        return usual_step.status;
    if (made.function == "get_parameter")
        return status_without_text(usual_step, made, answer);
    return answer.status;
}

// The info flags that an answered code makes of a write; nothing for those that depend on the options, too.
const std::map<int, std::string> info_flags = {{262, "2"}, {277, "4"}, {278, "6"}};

void expect_flags(const step &struck, int code)
{
    if (struck.kind != request::write && struck.kind != request::write_default)
        return;
    const std::string flags = struck.outcome.substr(0, struck.outcome.find(' '));
    const auto expected = info_flags.find(code);
    if (code == 261) {
        EXPECT_TRUE(flags == "1" || flags == "3") << struck.text();
    } else if (code != 0) {
        EXPECT_EQ(expected != info_flags.end() ? expected->second : "0", flags) << struck.text();
    }
}

void expect_defined_answer(std::size_t nth, const code_status &answer)
{
    const call &made = usual().calls[nth];
    SCOPED_TRACE("call " + std::to_string(nth) + ", " + made.function + " " + made.option + " answers " +
                 std::to_string(answer.code));
    const session steps = run_with([&] { faulty_driver::replace_code(nth, answer.code); });
    const std::size_t struck = step_of_driver_call(usual().steps, nth);
    ASSERT_EQ(usual().steps[struck].name, steps[struck].name);
    EXPECT_EQ(expected_status(usual().steps[struck], made, answer), steps[struck].status) << steps[struck].text();
    if (made.function == "set_parameter")
        expect_flags(steps[struck], answer.code);
    expect_fault_stays_in(steps, struck, !is_first_count_of_options(nth));
    expect_usual_session();
}

} // namespace

TEST(injection, each_call_of_the_driver_answers_each_code)
{
    std::map<std::string, int> injected;
    std::size_t total = 0;
    for (std::size_t nth = 0; nth < usual().calls.size() && !testing::Test::HasFailure(); ++nth)
        for (const code_status &answer : codes) {
            expect_defined_answer(nth, answer);
            ++injected[usual().calls[nth].function];
            ++total;
        }
    std::string line = std::to_string(total) + " answers of the driver:";
    for (const auto &[function, times] : injected)
        line += " " + std::to_string(times) + " " + function;
    report(line);
    EXPECT_LT(fewest, total);
    EXPECT_EQ(14U, injected.size());
}

} // namespace injection
