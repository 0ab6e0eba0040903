// SPDX-License-Identifier: MIT
// Between the driver's result codes and SANE's statuses, and from the driver's event thread to the frontend. The two
// tables are deliberately not inverse to each other: several codes fold into one status, and each status has one code.
// The lock guards the callback pair and is never held while the frontend's function runs, so that it may call back in.
// Tested by tests/sane/status_codes_test.cpp and events_test.cpp.
#include "commonlog.h"
#include "guard.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "sane_ex.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <mutex>
#include <utility>

namespace local_utility {
namespace {

struct code_pair {
    int from;
    int to;
};

constexpr code_pair statuses_of_codes[] = {
    {SCANNER_ERR_OK, SANE_STATUS_GOOD},
    {SCANNER_ERR_INVALID_PARAMETER, SANE_STATUS_INVAL},
    {SCANNER_ERR_INSUFFICIENT_MEMORY, SANE_STATUS_NO_MEM},
    {SCANNER_ERR_ACCESS_DENIED, SANE_STATUS_ACCESS_DENIED},
    {SCANNER_ERR_INFO_260, SANE_STATUS_GOOD},
    {SCANNER_ERR_NOT_EXACT, SANE_STATUS_GOOD},
    {SCANNER_ERR_CONFIGURATION_CHANGED, SANE_STATUS_GOOD},
    {SCANNER_ERR_NO_DATA, SANE_STATUS_EOF},
    {SCANNER_ERR_INVALID_STATE, SANE_STATUS_INVAL},
    {SCANNER_ERR_IO, SANE_STATUS_IO_ERROR},
    {SCANNER_ERR_IO_2, SANE_STATUS_IO_ERROR},
    {SCANNER_ERR_RELOAD_IMAGE_PARAM, SANE_STATUS_GOOD},
    {SCANNER_ERR_RELOAD_OPT_PARAM, SANE_STATUS_GOOD},
    {SCANNER_ERR_DEVICE_NOT_SUPPORT, SANE_STATUS_UNSUPPORTED},
    {SCANNER_ERR_DEVICE_BUSY, SANE_STATUS_DEVICE_BUSY},
    {SCANNER_ERR_DEVICE_COVER_OPENNED, SANE_STATUS_COVER_OPEN},
    {SCANNER_ERR_DEVICE_NO_PAPER, SANE_STATUS_NO_DOCS},
    {SCANNER_ERR_DEVICE_PAPER_JAMMED, SANE_STATUS_JAMMED},
};

constexpr code_pair codes_of_statuses[] = {
    {SANE_STATUS_GOOD, SCANNER_ERR_OK},
    {SANE_STATUS_UNSUPPORTED, SCANNER_ERR_DEVICE_NOT_SUPPORT},
    {SANE_STATUS_DEVICE_BUSY, SCANNER_ERR_DEVICE_BUSY},
    {SANE_STATUS_INVAL, SCANNER_ERR_INVALID_PARAMETER},
    {SANE_STATUS_EOF, SCANNER_ERR_NO_DATA},
    {SANE_STATUS_JAMMED, SCANNER_ERR_DEVICE_PAPER_JAMMED},
    {SANE_STATUS_NO_DOCS, SCANNER_ERR_DEVICE_NO_PAPER},
    {SANE_STATUS_COVER_OPEN, SCANNER_ERR_DEVICE_COVER_OPENNED},
    {SANE_STATUS_IO_ERROR, SCANNER_ERR_IO},
    {SANE_STATUS_NO_MEM, SCANNER_ERR_INSUFFICIENT_MEMORY},
    {SANE_STATUS_ACCESS_DENIED, SCANNER_ERR_ACCESS_DENIED},
};

template <std::size_t size> int translated(const code_pair (&table)[size], int code)
{
    for (const code_pair &pair : table)
        if (pair.from == code)
            return pair.to;
    return code;
}

std::mutex cb_lock_;
std::atomic<sane_event_callback> cb_ui_{nullptr}; // atomic: also read without the lock
void *cb_ui_parm_ = nullptr;

std::pair<sane_event_callback, void *> callback_pair()
{
    const std::lock_guard<std::mutex> lock(cb_lock_);
    return {cb_ui_.load(), cb_ui_parm_};
}

int forward_event(void *handle, int event, void *data, unsigned int *length)
{
    const auto [callback, parameter] = callback_pair();
    if (event == KX_EVENT_IS_LISTENED)
        return has_callback() ? SCANNER_ERR_OK : SCANNER_ERR_DEVICE_NOT_SUPPORT;
    if (callback == nullptr)
        return 0;
    return callback(kx_sane_middleware::scanner_handle_to_sane(handle), event, data, length, parameter);
}

} // namespace

int scanner_err_2_sane_statu(int code)
{
    return translated(statuses_of_codes, code);
}

int sane_statu_2_scanner_err(int status)
{
    return translated(codes_of_statuses, status);
}

void set_callback(sane_event_callback callback, void *parameter)
{
    const std::lock_guard<std::mutex> lock(cb_lock_);
    cb_ui_ = callback;
    cb_ui_parm_ = parameter;
}

void stop_work()
{
    set_callback(nullptr, nullptr);
}

bool has_callback()
{
    return cb_ui_ != nullptr;
}

int ui_cb(void *handle, int event, void *data, unsigned int *length, void *)
{
    const int no_memory = SCANNER_ERR_INSUFFICIENT_MEMORY;
    const int failed = SCANNER_ERR_IO;
    return guarded(no_memory, failed, [&] { return forward_event(handle, event, data, length); });
}

} // namespace local_utility

// Runs in whatever thread the signal finds: what is listed is settled when the application asks the next time.
void kx_sane_middleware::device_pnp(int signal)
{
    const int interrupted_errno = errno;
    DebugLog(g_hLog, "Device list changed (%d)...", signal);
    errno = interrupted_errno;
}
