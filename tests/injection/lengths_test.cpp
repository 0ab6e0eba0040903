// SPDX-License-Identifier: MIT
// Each length and count that the driver tells in a session is wrong once.
#include "checks.h"
#include "platform.h"
#include "session.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <map>
#include <set>
#include <string>

namespace injection {
namespace {

using faulty_driver::call;

constexpr std::size_t fewest = 400; // the loops must not become empty
constexpr long largest = std::numeric_limits<int>::max();
constexpr int io_error = 9;
constexpr int unsupported = 1;
constexpr int buffer_too_small = 258;

// Nothing, less than nothing, one more than there is, one more than there is room for, and far too many.
std::set<long> wrong_lengths(const call &made)
{
    std::set<long> lengths = {0, -1, made.length + 1, made.room + 1, largest};
    lengths.erase(made.length);
    return lengths;
}

bool is_text_of_option(const call &made)
{
    return made.function == "get_parameter" && made.option != "0" && made.option != "dev-sn" &&
           made.option != "drv-log";
}

// Whether an option's text arrives: it does when some of it is told to be there, or when the buffer that is asked for
// holds it and can be had.
bool is_fetched(const call &made, long length)
{
    return made.code == buffer_too_small ? length >= made.length && length != largest : length > 0;
}

int expected_status(const step &usual_step, const call &made, long length)
{
    const bool is_failed_list = made.function == "enum" && (length < 0 || (length == largest && made.room == 0));
    const bool is_failed_item = made.option == "dev-sn" && length < 0;
    if (is_failed_list || is_failed_item)
        return io_error;
    if (is_text_of_option(made) && !is_fetched(made, length)) {
        if (usual_step.kind == request::read)
            return io_error;
        if (usual_step.kind == request::read_default || usual_step.kind == request::write_default)
            return unsupported;
    }
    return usual_step.status;
}

// Counts that are passed on as they are.
bool is_passed_on(const step &struck, const call &made)
{
    return struck.kind == request::read_count || made.function == "read_img_data" || made.function == "control";
}

// What the application gets when the step succeeds: the told count where it is passed on, no device and no byte of an
// item where there is said to be none, else what it usually gets; behind the last device perhaps one without texts.
void expect_outcome(const step &struck, const step &usual_step, const call &made, long length)
{
    const bool is_empty = length == 0 && made.code == 0 && (made.function == "enum" || made.option == "dev-sn");
    if (is_passed_on(struck, made)) {
        EXPECT_EQ(std::to_string(length), struck.outcome.substr(0, struck.outcome.find(' ')));
    } else if (is_empty) {
        EXPECT_EQ("", struck.outcome);
    } else if (made.function == "enum") {
        EXPECT_EQ(usual_step.outcome, struck.outcome.substr(0, usual_step.outcome.size()));
    } else {
        EXPECT_EQ(usual_step.outcome, struck.outcome) << struck.name;
    }
}

void expect_defined_answer(std::size_t nth, long length)
{
    const call &made = usual().calls[nth];
    SCOPED_TRACE("call " + std::to_string(nth) + ", " + made.function + " " + made.option + " tells " +
                 std::to_string(length) + " instead of " + std::to_string(made.length));
    const session steps = run_with([&] { faulty_driver::replace_length(nth, length); });
    const std::size_t struck = step_of_driver_call(usual().steps, nth);
    const step &usual_step = usual().steps[struck];
    ASSERT_EQ(usual_step.name, steps[struck].name);
    EXPECT_EQ(expected_status(usual_step, made, length), steps[struck].status) << steps[struck].text();
    if (steps[struck].status == usual_step.status)
        expect_outcome(steps[struck], usual_step, made, length);
    expect_fault_stays_in(steps, struck, !is_first_count_of_options(nth));
    expect_usual_session();
}

} // namespace

TEST(injection, each_length_that_the_driver_tells_is_wrong)
{
    std::map<std::string, int> injected;
    std::size_t total = 0;
    for (std::size_t nth = 0; nth < usual().calls.size() && !testing::Test::HasFailure(); ++nth) {
        if (!usual().calls[nth].has_length)
            continue;
        for (const long length : wrong_lengths(usual().calls[nth])) {
            expect_defined_answer(nth, length);
            ++injected[usual().calls[nth].function];
            ++total;
        }
    }
    std::string line = std::to_string(total) + " lengths and counts of the driver:";
    for (const auto &[function, times] : injected)
        line += " " + std::to_string(times) + " " + function;
    report(line);
    EXPECT_LT(fewest, total);
    EXPECT_EQ(5U, injected.size());
}

} // namespace injection
