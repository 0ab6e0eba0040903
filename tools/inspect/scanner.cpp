// SPDX-License-Identifier: MIT
// Opening and closing, and what the statuses of an open device mean for the program's exit status. A call that fails
// because the device has gone is told apart by asking the driver for the device's state.
// Tested by tests/tools/failures_test.cpp.
#include "scanner.h"

#include "backend.h"
#include "failure.h"
#include "kx_scanner.h"
#include "sane_ex.h"
#include "sane_kx_mdw.h"
#include "sane_pelsane.h"

#include <fmt/format.h>
#include <string>

namespace inspect {

namespace {

exit_status exit_status_of(SANE_Status status)
{
    switch (static_cast<int>(status)) {
    case SANE_STATUS_ACCESS_DENIED:
        return exit_status::access_denied;
    case SANE_STATUS_NO_DOCS:
        return exit_status::no_paper;
    case SANE_STATUS_INVAL:
    case SANE_STATUS_UNSUPPORTED:
        return exit_status::refused;
    case SCANNER_ERR_DEVICE_NOT_FOUND:
        return exit_status::device_gone;
    default:
        return exit_status::device_failed;
    }
}

} // namespace

scanner::scanner(const std::string &given_name) : name_(backend::device_named(given_name))
{
    const SANE_Status status = sane_pelsane_open(name_.c_str(), &handle_);
    if (status == SANE_STATUS_ACCESS_DENIED)
        throw failure(exit_status::access_denied, fmt::format("{}: access denied", name_));
    if (status != SANE_STATUS_GOOD)
        throw failure(exit_status::device_failed, fmt::format("{}: cannot be opened: {}", name_, text_of(status)));
}

scanner::~scanner()
{
    sane_pelsane_close(handle_);
}

void *scanner::driver_handle() const
{
    return kx_sane_middleware::sane_handle_to_scanner(handle_);
}

bool scanner::is_gone() const
{
    return kx_scanner_get_status(driver_handle(), 0) == SCANNER_ERR_DEVICE_NOT_FOUND;
}

void scanner::check(SANE_Status status, const std::string &tried) const
{
    if (status == SANE_STATUS_GOOD)
        return;
    if (is_gone())
        throw failure(exit_status::device_gone, fmt::format("{}: {}: the scanner has gone", name_, tried));
    throw failure(exit_status_of(status), fmt::format("{}: {}: {}", name_, tried, text_of(status)));
}

std::string text_of(SANE_Status status)
{
    const char *const text = sane_pelsane_err_desc(status);
    return text != nullptr && *text != '\0' ? text : fmt::format("status {}", static_cast<int>(status));
}

} // namespace inspect
