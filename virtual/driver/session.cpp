// SPDX-License-Identifier: MIT
// The states of a device: no job; in a job with a page to deliver; in a job at a page's end. Every job begins with a
// full feeder and ends with the last page, a stop or the page limit. Tested by driver_scanning_test,
// driver_cancel_test.
#include "session.h"

#include "image_file.h"
#include "log.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace virtual_scanner {

namespace {

std::string feed_folder()
{
    const char *folder = secure_getenv("PELVIRTUAL_FEED");
    return folder != nullptr ? folder : "";
}

} // namespace

session::session(std::shared_ptr<const profile> description, std::uintptr_t handle, stop_flag &stop, events &reports)
    : log_(open_log()), description_(std::move(description)), handle_(handle), stop_(stop), reports_(reports),
      options_(*description_), information_(*description_), feeder_(feed_folder(), description_->feeder.sheets)
{
}

void session::post(int event)
{
    reports_.post(reinterpret_cast<void *>(handle_), event);
}

int session::begin_job()
{
    try {
        feeder_.fill();
    } catch (const image_error &error) {
        CriticalLog(driver_log(), "The feed folder cannot be read: %s", error.what());
        return SCANNER_ERR_IO;
    }
    if (feeder_.is_empty())
        WarnLog(driver_log(), "The feeder is empty: %s", feeder_.source().c_str());
    in_job_ = true;
    pages_ = 0;
    post(event_job_started);
    return SCANNER_ERR_OK;
}

int session::end_job(int answer)
{
    page_.reset();
    if (in_job_)
        post(event_job_ended);
    in_job_ = false;
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
    if (!in_job_)
        if (const int failure = begin_job(); failure != SCANNER_ERR_OK)
            return failure;
    if (settings.page_limit != 0 && pages_ >= settings.page_limit)
        return end_job(SCANNER_ERR_DEVICE_NO_PAPER);
    stop_.wait(handle_, std::chrono::milliseconds(description_->feeder.page_time_ms));
    try {
        page_ = scan_next(settings);
    } catch (const image_error &error) {
        CriticalLog(driver_log(), "An image of the feed cannot be read: %s", error.what());
        return SCANNER_ERR_IO;
    }
    if (take_stop())
        return SANE_STATUS_CANCELLED;
    if (!page_)
        return end_job(SCANNER_ERR_DEVICE_NO_PAPER);
    delivered_ = 0;
    is_finished_ = false;
    ++pages_;
    return SCANNER_ERR_OK;
}

std::optional<page> session::scan_next(const page_settings &settings)
{
    while (!is_stop_requested()) {
        const auto side = feeder_.next(settings.both_sides);
        if (!side)
            break;
        if (auto scanned = scan_side(*side, settings))
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
    const std::size_t amount = std::min(static_cast<std::size_t>(room), page_->data.size() - delivered_);
    if (amount == 0) {
        page_->data = {}; // a large page is not kept for an application that only leaves the device open
        delivered_ = 0;
        is_finished_ = true;
        return SCANNER_ERR_NO_DATA;
    }
    std::memcpy(data, &page_->data[delivered_], amount);
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
