// SPDX-License-Identifier: MIT
// From flat C to the middleware object and back. Every call that can throw goes through one guard, so that an exception
// becomes a status (a null descriptor, an empty text) and never reaches the application; driver codes that have no SANE
// status come out as their numbers. Tested by tests/sane/lifecycle_test.cpp and the tests of the functions behind.
#include "inner_sane.h"

#include "commonlog.h"
#include "guard.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "sane_ex.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <ctime>

SANE_Int sanei_debug_pelsane = 0;

void *sanei_debug_msg(void *argument)
{
    return argument;
}

namespace {

template <typename Work> SANE_Status status_of(Work work)
{
    const int no_memory = SANE_STATUS_NO_MEM;
    const int failed = SANE_STATUS_IO_ERROR;
    // A code of the driver that the standard has no name for goes out as it is.
    // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange)
    return static_cast<SANE_Status>(guarded(no_memory, failed, work));
}

template <typename Work> void run(Work work)
{
    status_of([&] {
        work();
        return SANE_STATUS_GOOD;
    });
}

// What the middleware object makes of a call. There is none when the frontend exits while the driver starts.
template <typename Work> SANE_Status with_middleware(Work work)
{
    return status_of([&] {
        kx_sane_middleware *const middleware = kx_sane_middleware::instance();
        return middleware != nullptr ? int{work(*middleware)} : int{SANE_STATUS_INVAL};
    });
}

// Gives the driver's device discovery time before the application asks for devices.
void pause_for_discovery()
{
    const timespec half_a_second = {0, 500'000'000};
    nanosleep(&half_a_second, nullptr);
}

SANE_Status init(SANE_Int *version_code)
{
    return with_middleware([version_code](kx_sane_middleware &middleware) -> int {
        if (!middleware.is_ready())
            return SCANNER_ERR_NOT_READY;
        local_utility::get_version(version_code);
        pause_for_discovery();
        return SANE_STATUS_GOOD;
    });
}

void write_byte(SANE_Int *part, unsigned int version, int shift)
{
    if (part != nullptr)
        *part = static_cast<SANE_Int>((version >> shift) & 0xFF);
}

} // namespace

SANE_Status inner_sane_init(SANE_Int *version_code)
{
    return init(version_code);
}

SANE_Status inner_sane_init_ex(SANE_Int *version_code, sane_event_callback callback, void *parameter)
{
    return status_of([&] {
        local_utility::set_callback(callback, parameter);
        return init(version_code);
    });
}

void inner_sane_exit()
{
    run([] { kx_sane_middleware::clear(); });
}

SANE_Status inner_sane_get_devices(const SANE_Device ***list, SANE_Bool local_only)
{
    return with_middleware([&](auto &middleware) { return middleware.get_devices(list, local_only != SANE_FALSE); });
}

SANE_Status inner_sane_open(SANE_String_Const name, SANE_Handle *handle)
{
    return with_middleware([&](auto &middleware) { return middleware.open_device(name, handle); });
}

void inner_sane_close(SANE_Handle handle)
{
    with_middleware([&](auto &middleware) { return middleware.close_device(handle); });
}

const SANE_Option_Descriptor *inner_sane_get_option_descriptor(SANE_Handle handle, const void *option)
{
    SANE_Option_Descriptor *const none = nullptr;
    return guarded(none, none, [&] {
        kx_sane_middleware *const middleware = kx_sane_middleware::instance();
        return middleware != nullptr ? middleware->get_option_descriptor(handle, option, nullptr, nullptr) : none;
    });
}

SANE_Status inner_sane_control_option(SANE_Handle handle, const void *option, SANE_Action action, void *value,
                                      SANE_Int *info)
{
    return with_middleware(
        [&](auto &middleware) { return middleware.set_option(handle, option, action, value, info); });
}

SANE_Status inner_sane_get_parameters(SANE_Handle handle, SANE_Parameters *parameters)
{
    return with_middleware([&](auto &middleware) { return middleware.get_image_parameters(handle, parameters); });
}

SANE_Status inner_sane_get_parameters_ex(SANE_Handle handle, SANE_Image *image)
{
    return with_middleware([&](auto &middleware) { return middleware.get_image_parameters_ex(handle, image); });
}

SANE_Status inner_sane_start(SANE_Handle handle)
{
    return with_middleware([&](auto &middleware) { return middleware.start(handle, nullptr); });
}

SANE_Status inner_sane_read(SANE_Handle handle, SANE_Byte *data, SANE_Int max_length, SANE_Int *length)
{
    SANE_Int unwanted = 0;
    SANE_Int &count = length != nullptr ? *length : unwanted;
    count = max_length;
    return status_of([&] { return kx_sane_middleware::read(handle, data, &count); });
}

void inner_sane_cancel(SANE_Handle handle)
{
    if (kx_sane_middleware::exists())
        run([&] { kx_sane_middleware::stop(handle); });
}

SANE_Status inner_sane_set_io_mode(SANE_Handle, SANE_Bool non_blocking)
{
    InfoLog(g_hLog, "sane_set_io_mode");
    return non_blocking != SANE_FALSE ? SANE_STATUS_UNSUPPORTED : SANE_STATUS_GOOD;
}

SANE_Status inner_sane_get_select_fd(SANE_Handle, SANE_Int *)
{
    return SANE_STATUS_UNSUPPORTED;
}

SANE_String_Const inner_sane_err_desc(SANE_Status status)
{
    const char *const none = "";
    return guarded(none, none, [status, none] {
        const char *const text = kx_scanner_err_description(local_utility::sane_statu_2_scanner_err(status));
        return text != nullptr ? text : none;
    });
}

SANE_String_Const inner_sane_strstatus(SANE_Status status)
{
    return inner_sane_err_desc(status);
}

SANE_Status inner_sane_io_control(SANE_Handle handle, unsigned long code, void *data, unsigned int *length)
{
    return with_middleware([&](auto &middleware) { return middleware.io_control(handle, code, data, length); });
}

SANE_Status inner_sane_read_ext()
{
    return SANE_STATUS_UNSUPPORTED;
}

SANE_Status inner_sane_ex_get_driver_version(SANE_Int *major, SANE_Int *minor, SANE_Int *micro, SANE_Int *build)
{
    const unsigned int version = guarded(0U, 0U, kx_scanner_get_version);
    write_byte(major, version, 24);
    write_byte(minor, version, 16);
    write_byte(micro, version, 8);
    write_byte(build, version, 0);
    return SANE_STATUS_GOOD;
}
