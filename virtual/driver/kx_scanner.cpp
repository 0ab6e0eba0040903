// SPDX-License-Identifier: MIT
// The driver's flat interface: each function looks its device up and makes one call. No exception gets out.
#include "command.h"
#include "commonlog.h"
#include "session.h"
#pragma GCC visibility push(default)
#include "kx_scanner.h"
#pragma GCC visibility pop

#include "driver.h"
#include "error_text.h"
#include "log.h"
#include "option_key.h"

#include <exception>
#include <new>

using virtual_scanner::driver;
using virtual_scanner::driver_call;
using virtual_scanner::driver_log;
using virtual_scanner::session;

namespace {

constexpr unsigned int driver_version = 0x01000000;

template <typename Call> int guarded(Call call) noexcept
{
    try {
        return call();
    } catch (const std::bad_alloc &) {
        CriticalLog(driver_log(), "Memory is short");
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    } catch (const std::exception &error) {
        CriticalLog(driver_log(), "Unexpected failure: %s", error.what());
        return SCANNER_ERR_IO;
    }
}

// The session is held for the call and its failures, so that a close in between ends it, and the log with it,
// afterwards. `option` is the key of the option that the call is about, null without one.
template <typename Call> int with_session(void *handle, driver_call kind, const void *option, Call call) noexcept
{
    return guarded([&] {
        const auto opened = driver::instance().handles().find(handle);
        if (opened == nullptr)
            return int{SCANNER_ERR_INVALID_PARAMETER};
        return guarded([&]() -> int {
            if (!opened->has_faults())
                return call(*opened);
            return opened->answer_with_faults(kind, option, [&] { return call(*opened); });
        });
    });
}

template <typename Call> int with_session(void *handle, driver_call kind, Call call) noexcept
{
    return with_session(handle, kind, nullptr, call);
}

} // namespace

extern "C" {

int kx_scanner_set_sane_info(const char *name, const char *version)
{
    return guarded([&] {
        driver::instance().set_user(name, version);
        return SCANNER_ERR_OK;
    });
}

int kx_scanner_initialize(kx_event_callback callback, void *parameter)
{
    return guarded([&] { return driver::instance().initialize(callback, parameter); });
}

int kx_scanner_uninitialize(void)
{
    return guarded([] { return driver::instance().uninitialize(); });
}

unsigned int kx_scanner_get_version(void)
{
    return driver_version;
}

const char *kx_scanner_err_description(int code)
{
    const char *text = "Unknown result code.";
    guarded([&] {
        text = virtual_scanner::error_text(code);
        return SCANNER_ERR_OK;
    });
    return text;
}

int kx_scanner_enum(void *records, int *count, int)
{
    return guarded([&] { return driver::instance().enumerate(records, count); });
}

int kx_scanner_open(void **handle, const char *name, int, const char *, const char *, const char *, char *need_auth)
{
    bool asks = false;
    const int answer = guarded([&] { return driver::instance().open(handle, name, asks); });
    if (need_auth != nullptr)
        *need_auth = asks ? 1 : 0;
    return answer;
}

int kx_scanner_close(void *handle, int)
{
    return guarded([&] {
        const auto closed = driver::instance().handles().find(handle);
        if (!driver::instance().handles().remove(handle))
            return int{SCANNER_ERR_INVALID_PARAMETER};
        return closed->answer_to_close();
    });
}

int kx_scanner_get_parameter(void *handle, const void *option, void *data, long *length, int *id)
{
    if (virtual_scanner::names_driver_log(option))
        return guarded([&] { return driver::instance().get_log_text(data, length); });
    return with_session(handle, driver_call::get_parameter, option,
                        [&](session &opened) { return opened.get_parameter(option, data, length, id); });
}

int kx_scanner_set_parameter(void *handle, const void *option, void *data, long *length)
{
    if (virtual_scanner::names_driver_log(option))
        return guarded([&] { return driver::instance().set_log_text(data, length); });
    return with_session(handle, driver_call::set_parameter, option,
                        [&](session &opened) { return opened.set_parameter(option, data, length); });
}

int kx_scanner_get_status(void *handle, int)
{
    return with_session(handle, driver_call::get_status, [](session &) { return SCANNER_ERR_OK; });
}

int kx_scanner_control(void *handle, unsigned long code, void *data, unsigned int *)
{
    return with_session(handle, driver_call::control, [&](session &opened) { return opened.control(code, data); });
}

int kx_scanner_start(void *handle, void *, int)
{
    return with_session(handle, driver_call::start, [](session &opened) { return opened.start(); });
}

int kx_scanner_read_img_data(void *handle, void *data, long *count)
{
    if (count == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    const long room = *count;
    *count = 0;
    return with_session(handle, driver_call::read_img_data, [&](session &opened) {
        *count = room;
        return opened.read(data, count);
    });
}

int kx_scanner_stop(void *handle)
{
    return driver::instance().handles().request_stop(handle) ? SCANNER_ERR_OK : SCANNER_ERR_INVALID_PARAMETER;
}

int kx_scanner_get_img_info(void *handle, void *info, int size)
{
    return with_session(handle, driver_call::get_img_info,
                        [&](session &opened) { return opened.image_info_of(info, size); });
}

} // extern "C"
