// SPDX-License-Identifier: MIT
// The faults of a device at work in a job. Each call asks here once there are any; what a fault answers is decided
// here, so that a job that is ended by one ends as by any other cause. Tested by faults_test, call_faults_test.
#include "command.h"
#include "faults.h"
#include "kx_scanner.h"
#include "option_key.h"
#include "session.h"

#include <sane/sane.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace virtual_scanner {

namespace {

int code_of(job_fault_kind kind)
{
    switch (kind) {
    case job_fault_kind::empty:
        return SCANNER_ERR_DEVICE_NO_PAPER;
    case job_fault_kind::cover_open:
        return SCANNER_ERR_DEVICE_COVER_OPENNED;
    case job_fault_kind::vanish:
        return SCANNER_ERR_IO;
    default:
        return SCANNER_ERR_DEVICE_PAPER_JAMMED;
    }
}

} // namespace

// The page that a call is about, as faults count pages.
int session::page_of(driver_call call) const
{
    if (call == driver_call::start)
        return in_job_ ? pages_ + 1 : 1;
    return page_ ? pages_ : 0;
}

std::string session::name_of(const option_key &key) const
{
    if (key.is_option)
        return description_->options[static_cast<std::size_t>(key.number) - 1].name;
    return key.item != nullptr ? key.item->name : "";
}

int session::answer_with_faults(driver_call call, const void *option, const std::function<int()> &make)
{
    if (faults_->is_gone()) {
        end_job(SCANNER_ERR_IO);
        return call == driver_call::get_status ? SCANNER_ERR_DEVICE_NOT_FOUND : SCANNER_ERR_IO;
    }
    const option_key key = resolve(option, options_);
    const auto fault = faults_->take_answer(call, name_of(key), key.number, page_of(call));
    if (fault && !is_success(fault->answer))
        return fault->answer;
    const int answer = make();
    return fault && is_success(answer) ? fault->answer : answer;
}

int session::answer_to_close()
{
    const auto fault =
        faults_->any() ? faults_->take_answer(driver_call::close, "", -1, 0) : std::optional<call_answer>();
    return fault ? fault->answer : SCANNER_ERR_OK;
}

// Waits for the time of a fault that came when the device had recovered so often. A stop ends the wait, and so does a
// device that recovers or vanishes.
void session::wait_out(std::chrono::milliseconds time, int recoveries)
{
    stop_.wait(handle_, time, [&] { return faults_->is_gone() || faults_->recoveries() != recoveries; });
}

// The code that the start is to answer, none when it goes on. `sheets` are through.
std::optional<int> session::meet_start_faults(int sheets)
{
    progress_.pages = in_job_ ? pages_ : 0;
    progress_.sheets = sheets;
    while (faults_->any()) {
        const int recoveries = faults_->recoveries();
        const auto fault = faults_->take_start_fault(progress_);
        if (!fault)
            break;
        if (fault->kind != job_fault_kind::slow_start)
            return code_of(fault->kind);
        wait_out(fault->time, recoveries);
        if (is_stop_requested())
            break;
        if (faults_->is_gone())
            return SCANNER_ERR_IO;
    }
    return std::nullopt;
}

// The code that the read is to answer, none when it goes on. `amount` becomes less where a fault is near.
std::optional<int> session::meet_page_faults(int bytes_per_line, std::size_t &amount)
{
    const page_progress page{static_cast<std::size_t>(bytes_per_line), delivered_};
    while (true) {
        const int recoveries = faults_->recoveries();
        const auto fault = faults_->take_page_fault(progress_, page, amount);
        if (!fault)
            return std::nullopt;
        if (fault->kind != job_fault_kind::stall)
            return end_job(code_of(fault->kind));
        wait_out(fault->time, recoveries);
        if (take_stop())
            return SANE_STATUS_CANCELLED;
        if (faults_->is_gone())
            return end_job(SCANNER_ERR_IO);
    }
}

} // namespace virtual_scanner
