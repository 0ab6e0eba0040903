// SPDX-License-Identifier: MIT
// The states of a device: no job; in a job with a page to deliver; in a job at a page's end. Every job begins with a
// full feeder and ends with the last page, a stop or the page limit; one page from the glass is a job of its own.
// Tested by driver_scanning_test, driver_cancel_test.
#include "session.h"

#include "commonlog.h"
#include "events.h"
#include "faults.h"
#include "feeder.h"
#include "image_file.h"
#include "image_info.h"
#include "kx_scanner.h"
#include "log.h"
#include "page.h"
#include "page_settings.h"
#include "profile.h"
#include "sheet_checks.h"
#include "stop_flag.h"

#include <sane/sane.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

namespace virtual_scanner {

namespace {

feeder_properties feeder_of(const profile &description)
{
    feeder_properties properties = description.feeder;
    const char *folder = secure_getenv("PELVIRTUAL_FEED");
    if (folder != nullptr && *folder != '\0')
        properties.source = {std::nullopt, folder};
    return properties;
}

std::chrono::milliseconds time_of_page(const profile &description)
{
    const double speed = description.pages_per_minute;
    return std::chrono::milliseconds(speed > 0 ? std::llround(60000 / speed) : 0);
}

} // namespace

session::session(std::shared_ptr<const profile> description, std::shared_ptr<device_faults> faults,
                 std::uintptr_t handle, stop_flag &stop, events &reports)
    : log_(open_log()), description_(std::move(description)), faults_(std::move(faults)), handle_(handle), stop_(stop),
      reports_(reports), options_(*description_), information_(*description_), feeder_(feeder_of(*description_))
{
}

void session::post(int event)
{
    reports_.post(reinterpret_cast<void *>(handle_), event);
}

int session::begin_job(bool from_glass)
{
    try {
        if (!from_glass)
            feeder_.fill();
    } catch (const image_error &error) {
        CriticalLog(driver_log(), "The feed folder cannot be read: %s", error.what());
        return SCANNER_ERR_IO;
    }
    if (!from_glass && feeder_.is_empty())
        WarnLog(driver_log(), "The feeder is empty: %s", feeder_.source().c_str());
    in_job_ = true;
    is_from_glass_ = from_glass;
    pages_ = 0;
    post(event_job_started);
    return SCANNER_ERR_OK;
}

void session::finish_job()
{
    if (in_job_)
        post(event_job_ended);
    in_job_ = false;
}

int session::end_job(int answer)
{
    page_.reset();
    finish_job();
    return answer;
}

bool session::take_stop()
{
    if (!stop_.take(handle_))
        return false;
    end_job(SANE_STATUS_CANCELLED);
    return true;
}

int session::start()
{
    take_stop();
    page_.reset();
    const page_settings settings = settings_of(options_, *description_);
    if (in_job_ && (is_from_glass_ || settings.from_glass))
        end_job(SCANNER_ERR_OK);
    if (!in_job_)
        progress_ = {};
    progress_.from_glass = settings.from_glass;
    if (const auto failure = meet_start_faults(progress_.sheets))
        return end_job(*failure);
    if (!in_job_)
        if (const int failure = begin_job(settings.from_glass); failure != SCANNER_ERR_OK)
            return failure;
    if (settings.page_limit != 0 && pages_ >= settings.page_limit)
        return end_job(SCANNER_ERR_DEVICE_NO_PAPER);
    stop_.wait(handle_, time_of_page(*description_));
    int answer = SCANNER_ERR_DEVICE_NO_PAPER;
    try {
        page_ = scan_next(settings, answer);
    } catch (const image_error &error) {
        CriticalLog(driver_log(), "An image of the feed cannot be read: %s", error.what());
        return SCANNER_ERR_IO;
    } catch (const sheet_stopped &error) {
        WarnLog(driver_log(), "A sheet was stopped: %s", error.what());
        feeder_.eject();
        return SCANNER_ERR_DEVICE_PAPER_JAMMED;
    }
    if (take_stop())
        return SANE_STATUS_CANCELLED;
    if (!page_)
        return end_job(answer);
    delivered_ = 0;
    is_finished_ = false;
    progress_.begin_page(page_->format.lines);
    ++pages_;
    return SCANNER_ERR_OK;
}

// `answer` becomes the code of a fault that leaves no page.
std::optional<page> session::scan_next(const page_settings &settings, int &answer)
{
    while (!is_stop_requested()) {
        const auto side = settings.from_glass ? sheet_on_glass(description_->glass) : feeder_.next(settings.sides);
        if (!side)
            break;
        if (const auto failure = meet_start_faults(side->sheet - 1)) {
            answer = *failure;
            break;
        }
        auto scanned = scan_side(*side, settings);
        if (scanned || settings.from_glass)
            return scanned;
    }
    return std::nullopt;
}

int session::read(void *data, long *count)
{
    const long room = *count;
    *count = 0;
    if (take_stop())
        return SANE_STATUS_CANCELLED;
    if (data == nullptr || room <= 0)
        return SCANNER_ERR_INVALID_PARAMETER;
    if (!page_)
        return SCANNER_ERR_INVALID_STATE;
    std::size_t amount = std::min(static_cast<std::size_t>(room), page_->data.size() - delivered_);
    if (faults_->any() && !is_finished_)
        if (const auto failure = meet_page_faults(page_->format.bytes_per_line, amount))
            return *failure;
    if (amount == 0) {
        page_->data = {}; // a large page is not kept for an application that only leaves the device open
        delivered_ = 0;
        is_finished_ = true;
        if (is_from_glass_)
            finish_job();
        return SCANNER_ERR_NO_DATA;
    }
    page_->data.copy(delivered_, amount, data);
    delivered_ += amount;
    *count = static_cast<long>(amount);
    return SCANNER_ERR_OK;
}

// The parameters asked for between two pages are those of the next one, with the settings that it will have.
void session::drop_finished_page()
{
    if (is_finished_)
        page_.reset();
}

int session::image_info_of(void *info, int size) const
{
    if (info == nullptr || (size != sizeof(SANE_Parameters) && size != sizeof(image_info)))
        return SCANNER_ERR_INVALID_PARAMETER;
    const image_info filled = describe_image();
    std::memcpy(info, &filled, static_cast<std::size_t>(size));
    return SCANNER_ERR_OK;
}

// The page's own parameters once it is there, else those that the settings would give.
image_info session::describe_image() const
{
    const bool has_page = page_ && !is_stop_requested();
    const page_settings settings = settings_of(options_, *description_);
    const image_format format = has_page ? page_->format : format_of(settings.area, settings);
    image_info info{};
    info.parameters.format = format.mode == color_mode::color ? SANE_FRAME_RGB : SANE_FRAME_GRAY;
    info.parameters.last_frame = SANE_TRUE;
    info.parameters.bytes_per_line = format.bytes_per_line;
    info.parameters.pixels_per_line = format.pixels_per_line;
    info.parameters.lines = format.lines;
    info.parameters.depth = format.depth;
    info.page = has_page ? pages_ : 0;
    info.sheet = has_page ? page_->side.sheet : 0;
    info.side = has_page && page_->side.back ? 1 : 0;
    info.dpi = has_page ? page_->dpi : settings.dpi;
    return info;
}

} // namespace virtual_scanner
