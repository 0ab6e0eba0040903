// SPDX-License-Identifier: MIT
// Each allocation of a session fails once, alone or with all that follow it in the same call.
#include "checks.h"
#include "memory.h"
#include "session.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace injection {
namespace {

using faulty_memory::shortage;
using faulty_memory::source;

constexpr std::size_t fewest = 2000; // in a session; the loop must not become empty

// What a call may answer when memory runs short, besides that it does without. A value that cannot be fetched is a
// failed read, a default that cannot be delivered is none; everything else is out of memory.
const std::map<request, std::vector<int>> failures = {
    {request::init, {SANE_STATUS_NO_MEM}},
    {request::list, {SANE_STATUS_NO_MEM}},
    {request::open, {SANE_STATUS_NO_MEM}},
    {request::read, {SANE_STATUS_NO_MEM, SANE_STATUS_IO_ERROR}},
    {request::read_default, {SANE_STATUS_NO_MEM, SANE_STATUS_UNSUPPORTED}},
    {request::write, {SANE_STATUS_NO_MEM}},
    {request::write_default, {SANE_STATUS_NO_MEM, SANE_STATUS_UNSUPPORTED}},
    {request::write_item, {SANE_STATUS_NO_MEM}},
    {request::control, {SANE_STATUS_NO_MEM}},
};

bool may_fail_with(request kind, int status)
{
    const auto found = failures.find(kind);
    return found != failures.end() && std::count(found->second.begin(), found->second.end(), status) != 0;
}

bool may_be_null(request kind)
{
    return kind == request::list || kind == request::describe || kind == request::describe_well_known;
}

// The step that was struck: a success is as good as ever, but that a list or a descriptor may be null.
void expect_defined(const step &struck, const step &expected)
{
    if (may_fail_with(struck.kind, struck.status))
        return;
    EXPECT_EQ(expected.status, struck.status) << struck.text();
    if (!may_be_null(struck.kind) || struck.outcome != "null") {
        EXPECT_EQ(expected.outcome, struck.outcome) << struck.name;
    }
}

void expect_each_allocation_may_fail(shortage kind)
{
    const session &expected = usual().steps;
    const std::size_t allocations = expected.back().allocations;
    std::map<source, int> injected;
    for (std::size_t nth = 0; nth < allocations && !testing::Test::HasFailure(); ++nth) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        const session steps = run_with([=] { faulty_memory::fail(nth, kind); });
        ASSERT_TRUE(faulty_memory::has_failed());
        ++injected[faulty_memory::failed_source()];
        const std::size_t struck = step_of_allocation(expected, nth);
        expect_defined(steps[struck], expected[struck]);
        expect_fault_stays_in(steps, struck, true);
        expect_usual_session();
    }
    std::string line = std::to_string(allocations) + " shortages of memory:";
    for (const auto &[from, times] : injected)
        line += " " + std::to_string(times) + " " + faulty_memory::name_of(from);
    report(line);
    EXPECT_LT(fewest, allocations);
    for (const source from : {source::malloc, source::calloc, source::operator_new})
        EXPECT_LT(0, injected[from]) << faulty_memory::name_of(from);
}

} // namespace

TEST(injection, each_allocation_fails_alone)
{
    expect_each_allocation_may_fail(shortage::single);
}

TEST(injection, each_allocation_fails_with_all_that_follow_in_the_call)
{
    expect_each_allocation_may_fail(shortage::lasting);
}

} // namespace injection
