// SPDX-License-Identifier: MIT
// Scanning is the driver's: each function finds the device, makes one driver call and translates the result. Image
// data, its end and its count pass through as they are, and the state of a job is kept by the driver alone. Read and
// cancel ask for no more than whether the driver's handle is open, since a page is read in many small pieces, and a
// cancel may come at any instruction of any other call; where read found its handle last is remembered. Tested by
// tests/sane/scanning_test.cpp.
#include "commonlog.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "open_scanners.h"
#include "opened_devices.h"
#include "sane_ex.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <cerrno>

static_assert(sizeof(SANE_Parameters) == 24 && sizeof(SANE_Image) == 48, "the driver tells the records by their size");

using local_utility::scanner_err_2_sane_statu;

// A device that is not open is left to the driver, which gets a null handle and answers for it.
template <typename Info> static int image_info(void *scanner, Info *info)
{
    if (info == nullptr)
        return SANE_STATUS_INVAL;
    return scanner_err_2_sane_statu(kx_scanner_get_img_info(scanner, info, sizeof(*info)));
}

int kx_sane_middleware::get_image_parameters(void *handle, SANE_Parameters *p)
{
    return image_info(find_openning_device(handle, false, nullptr), p);
}

int kx_sane_middleware::get_image_parameters_ex(void *handle, SANE_Image *p)
{
    return image_info(find_openning_device(handle, false, nullptr), p);
}

int kx_sane_middleware::start(void *handle, void *event)
{
    constexpr int no_timeout = -1;
    InfoLog(g_hLog, "[ sane_start... ]");
    void *const scanner = find_openning_device(handle, false, nullptr);
    if (scanner == nullptr)
        return scanner_err_2_sane_statu(SCANNER_ERR_INVALID_PARAMETER);
    return scanner_err_2_sane_statu(kx_scanner_start(scanner, event, no_timeout));
}

int kx_sane_middleware::read(void *handle, void *data, int *length)
{
    long count = *length;
    void *const scanner = sane_handle_to_scanner(handle);
    if (!open_scanners::contains_still(scanner)) {
        instance(); // as every call but cancel; an open handle means that there is one
        return scanner_err_2_sane_statu(SCANNER_ERR_INVALID_PARAMETER);
    }
    const int code = kx_scanner_read_img_data(scanner, data, &count);
    *length = static_cast<int>(count);
    return code == SCANNER_ERR_OK ? SANE_STATUS_GOOD : scanner_err_2_sane_statu(code);
}

int kx_sane_middleware::stop(void *handle)
{
    const int interrupted_errno = errno;
    InfoLog(g_hLog, "[ sane_cancel ]");
    void *const scanner = sane_handle_to_scanner(handle);
    if (open_scanners::contains(scanner))
        kx_scanner_stop(scanner);
    errno = interrupted_errno;
    return SANE_STATUS_GOOD;
}

int kx_sane_middleware::io_control(void *handle, unsigned long code, void *data, unsigned int *length)
{
    void *const scanner = find_openning_device(handle, false, nullptr);
    const opened_device device(scanner);
    const int result = kx_scanner_control(scanner, code, data, length);
    if (result == SCANNER_ERR_CONFIGURATION_CHANGED) {
        DebugLog(g_hLog, "the setting '0x%08x' affects other options value, RELOAD ...",
                 static_cast<unsigned int>(code));
        if (_dev_inst *const dev = device.record())
            on_SCANNER_ERR_CONFIGURATION_CHANGED(dev);
    }
    return scanner_err_2_sane_statu(result);
}
