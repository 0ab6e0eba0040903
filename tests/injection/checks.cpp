// SPDX-License-Identifier: MIT
// Checks of sessions. A fault may cost the step that it strikes, and leave the options incomplete until they are next
// reloaded; it costs nothing else.
#include "checks.h"

#include "memory.h"
#include "platform.h"
#include "session.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <iterator>
#include <string>

namespace injection {
namespace {

// What is kept for the process: the text of the backend's folder, and a block of exit handlers.
constexpr long kept_blocks = 2;

// The C library makes room for a few dozen handlers at a time. After this there is some for the backend's, however many
// the other libraries of the process have.
void make_room_for_exit_handlers()
{
    const long before = faulty_memory::blocks();
    while (faulty_memory::blocks() == before) {
        const faulty_memory::inside counted;
        if (std::atexit([] {}) != 0)
            std::abort();
    }
}

usual_session run_plainly()
{
    faulty_memory::reset();
    faulty_driver::reset();
    usual_session run{run_session(), {}};
    run.calls = faulty_driver::calls();
    return run;
}

void expect_nothing_left()
{
    EXPECT_EQ(kept_blocks + listed_blocks(), faulty_memory::blocks());
    EXPECT_EQ(0, faulty_driver::open_devices());
}

// The first step that is not as usual, for a message.
std::string first_difference(const session &steps)
{
    const session &expected = usual().steps;
    if (steps.size() != expected.size())
        return std::to_string(steps.size()) + " steps";
    for (std::size_t i = 0; i < steps.size(); ++i)
        if (steps[i].text() != expected[i].text())
            return steps[i].text();
    return {};
}

// As usual, or what tells of the fault's traces: an option that is not there, a value that cannot be read, a page that
// goes on for longer or ended before.
bool is_sound_status(int status, int usual_status)
{
    const int traces[] = {SANE_STATUS_GOOD, SANE_STATUS_UNSUPPORTED, SANE_STATUS_IO_ERROR, SANE_STATUS_EOF};
    return status == usual_status || std::find(std::begin(traces), std::end(traces), status) != std::end(traces);
}

// Whether what a call gives when it succeeds does not depend on the options that an earlier fault has cost.
bool is_lasting(request kind)
{
    return kind == request::describe || kind == request::read || kind == request::read_count ||
           kind == request::read_default || kind == request::read_log;
}

void expect_sound(const step &made, const step &expected)
{
    EXPECT_TRUE(is_sound_status(made.status, expected.status)) << made.text();
    if (is_lasting(made.kind) && made.status == SANE_STATUS_GOOD) {
        EXPECT_EQ(expected.outcome, made.outcome) << made.name;
    }
}

} // namespace

const usual_session &usual()
{
    static const usual_session run = [] {
        make_room_for_exit_handlers();
        return run_plainly();
    }();
    return run;
}

session run_with(const std::function<void()> &plan)
{
    usual();
    faulty_memory::reset();
    faulty_driver::reset();
    plan();
    session steps = run_session();
    expect_nothing_left();
    return steps;
}

void expect_usual_session()
{
    EXPECT_EQ("", first_difference(run_plainly().steps));
    expect_nothing_left();
}

void expect_fault_stays_in(const session &steps, std::size_t struck, bool recovers)
{
    const session &expected = usual().steps;
    const auto recovered = static_cast<std::size_t>(find_step(expected, recovery) - expected.data());
    for (std::size_t i = 0; i < struck; ++i)
        ASSERT_EQ(expected[i].text(), steps[i].text());
    const bool is_whole = steps.size() == expected.size();
    for (std::size_t i = struck + 1; i < steps.size(); ++i) {
        const step *const same = is_whole ? &expected[i] : &expected.back();
        ASSERT_EQ(same->name, steps[i].name);
        if (recovers && is_whole && struck < recovered && i >= recovered)
            EXPECT_EQ(same->text(), steps[i].text());
        else
            expect_sound(steps[i], *same);
    }
}

bool is_first_count_of_options(std::size_t nth)
{
    const auto &calls = usual().calls;
    const auto first = std::find_if(calls.begin(), calls.end(), [](const auto &each) { return each.option == "0"; });
    return calls.begin() + static_cast<std::ptrdiff_t>(nth) == first;
}

void report(const std::string &line)
{
    std::cout << "[ injected ] " << line << '\n' << std::flush;
}

} // namespace injection
