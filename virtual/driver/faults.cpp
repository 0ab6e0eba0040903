// SPDX-License-Identifier: MIT
// Commands in, due faults out. A fault that has come as often as it was to is dropped; when the last one has gone, the
// device costs its calls nothing again. Tested by faults_test, call_faults_test.
#include "faults.h"

#include "command.h"
#include "kx_scanner.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

namespace virtual_scanner {

namespace {

bool is_of_feeder(job_fault_kind kind)
{
    return kind == job_fault_kind::double_feed || kind == job_fault_kind::empty;
}

bool is_meant(const std::string &wanted, const std::string &option, int number)
{
    return wanted.empty() || wanted == option || (number >= 0 && wanted == std::to_string(number));
}

// Bytes of the page up to the fault; 0 when it is due, none when it is not in this page.
std::optional<std::size_t> bytes_before(const job_fault &fault, const job_progress &job, const page_progress &page)
{
    if (fault.unit == job_unit::pages)
        return job.pages >= fault.after ? std::optional<std::size_t>(0) : std::nullopt;
    if (fault.unit == job_unit::sheets)
        return job.sheets >= fault.after ? std::optional<std::size_t>(0) : std::nullopt;
    if (job.lines >= fault.after)
        return 0;
    const std::size_t end = static_cast<std::size_t>(fault.after - job.lines) * page.bytes_per_line;
    return end > page.delivered ? end - page.delivered : 0;
}

} // namespace

bool is_success(int answer)
{
    constexpr std::array<int, 6> successes{SCANNER_ERR_OK,
                                           SCANNER_ERR_INFO_260,
                                           SCANNER_ERR_NOT_EXACT,
                                           SCANNER_ERR_CONFIGURATION_CHANGED,
                                           SCANNER_ERR_RELOAD_IMAGE_PARAM,
                                           SCANNER_ERR_RELOAD_OPT_PARAM};
    return std::find(successes.begin(), successes.end(), answer) != successes.end();
}

void device_faults::apply(const decltype(command::action) &action)
{
    const std::lock_guard<std::mutex> guard(lock_);
    std::visit([this](const auto &each) { set(each); }, action);
    note();
}

void device_faults::note()
{
    any_ = is_gone_ || !answers_.empty() || !text_faults_.empty() || !job_faults_.empty();
}

template <typename Fault> void device_faults::add(std::vector<counted<Fault>> &list, const Fault &fault)
{
    if (list.size() == most_faults)
        list.erase(list.begin());
    list.push_back({fault, ++last_number_, fault.times});
}

void device_faults::set(const job_fault &fault)
{
    if (fault.kind == job_fault_kind::vanish && fault.after == 0)
        is_gone_ = true;
    else
        add(job_faults_, fault);
}

void device_faults::end(job_fault_kind kind)
{
    job_faults_.erase(std::remove_if(job_faults_.begin(), job_faults_.end(),
                                     [kind](const auto &each) { return each.fault.kind == kind; }),
                      job_faults_.end());
}

void device_faults::set(remedy which)
{
    if (which == remedy::cover_closed || which == remedy::everything_cleared)
        end(job_fault_kind::cover_open);
    if (which == remedy::feeder_filled || which == remedy::everything_cleared)
        end(job_fault_kind::empty);
    if (which == remedy::device_returned || which == remedy::everything_cleared) {
        is_gone_ = false;
        ++recoveries_;
    }
    if (which != remedy::everything_cleared)
        return;
    answers_.clear();
    text_faults_.clear();
    job_faults_.clear();
}

template <typename Fault> void device_faults::count_down(std::vector<counted<Fault>> &list, std::size_t index)
{
    counted<Fault> &taken = list[index];
    if (taken.left == always)
        return;
    --taken.left;
    if (taken.left == 0)
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(index));
}

// Every fault that fits counts the call, and the first that is due answers it.
std::optional<call_answer> device_faults::take_answer(driver_call call, const std::string &option, int number, int page)
{
    const std::lock_guard<std::mutex> guard(lock_);
    std::optional<std::size_t> due;
    for (std::size_t i = 0; i < answers_.size(); ++i) {
        auto &each = answers_[i];
        const call_answer &fault = each.fault;
        if (fault.call != call || !is_meant(fault.option, option, number) || (fault.page != 0 && fault.page != page))
            continue;
        if (each.calls < fault.from)
            ++each.calls;
        if (!due && each.calls >= fault.from)
            due = i;
    }
    if (!due)
        return std::nullopt;
    call_answer answer = answers_[*due].fault;
    count_down(answers_, *due);
    note();
    return answer;
}

int device_faults::answer_to_open(bool &need_auth)
{
    if (is_gone())
        return SCANNER_ERR_IO;
    const auto fault = any() ? take_answer(driver_call::open, "", -1, 0) : std::nullopt;
    if (!fault)
        return SCANNER_ERR_OK;
    need_auth = fault->asks;
    return fault->answer;
}

std::optional<text_fault_kind> device_faults::take_text_fault(const std::string &option, int number)
{
    const std::lock_guard<std::mutex> guard(lock_);
    const auto found = std::find_if(text_faults_.begin(), text_faults_.end(),
                                    [&](const auto &each) { return is_meant(each.fault.option, option, number); });
    if (found == text_faults_.end())
        return std::nullopt;
    const text_fault_kind kind = found->fault.kind;
    count_down(text_faults_, static_cast<std::size_t>(found - text_faults_.begin()));
    note();
    return kind;
}

template <typename Due> std::optional<job_fault> device_faults::take_job_fault(job_progress &job, Due is_due)
{
    const auto found = std::find_if(job_faults_.begin(), job_faults_.end(), [&](const auto &each) {
        return job.met.count(each.number) == 0 && is_due(each.fault);
    });
    if (found == job_faults_.end())
        return std::nullopt;
    const job_fault fault = found->fault;
    job.met.insert(found->number);
    count_down(job_faults_, static_cast<std::size_t>(found - job_faults_.begin()));
    if (fault.kind == job_fault_kind::vanish)
        is_gone_ = true;
    note();
    return fault;
}

std::optional<job_fault> device_faults::take_start_fault(job_progress &job)
{
    const std::lock_guard<std::mutex> guard(lock_);
    return take_job_fault(job, [&](const job_fault &fault) {
        return !is_in_page(fault.kind) && !(job.from_glass && is_of_feeder(fault.kind)) &&
               (fault.unit == job_unit::pages ? job.pages : job.sheets) >= fault.after;
    });
}

std::optional<job_fault> device_faults::take_page_fault(job_progress &job, const page_progress &page, std::size_t &room)
{
    const std::lock_guard<std::mutex> guard(lock_);
    auto due = take_job_fault(
        job, [&](const job_fault &fault) { return is_in_page(fault.kind) && bytes_before(fault, job, page) == 0U; });
    if (!due)
        room = room_before_fault(job, page, room);
    return due;
}

std::size_t device_faults::room_before_fault(const job_progress &job, const page_progress &page, std::size_t room) const
{
    for (const auto &each : job_faults_)
        if (is_in_page(each.fault.kind) && job.met.count(each.number) == 0)
            room = std::min(room, bytes_before(each.fault, job, page).value_or(room));
    return room;
}

} // namespace virtual_scanner
