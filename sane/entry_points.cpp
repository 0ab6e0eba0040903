// SPDX-License-Identifier: MIT
// The names that SANE applications look up. Each entry point is one call of the inner_sane function behind it; the
// plain forms widen an option index to an option key on the way. Tested by tests/sane and, from C, by tests/c_api.
#include "inner_sane.h"
#include "option_key.h"
#include "sane_ex.h"
#include "sane_pelsane.h"

#pragma GCC visibility push(default)
extern "C" {

SANE_Status sane_pelsane_init(SANE_Int *version_code, SANE_Auth_Callback)
{
    return inner_sane_init(version_code);
}

SANE_Status sane_pelsane_init_ex(SANE_Int *version_code, sane_event_callback callback, void *parameter)
{
    return inner_sane_init_ex(version_code, callback, parameter);
}

void sane_pelsane_exit()
{
    inner_sane_exit();
}

SANE_Status sane_pelsane_get_devices(const SANE_Device ***device_list, SANE_Bool local_only)
{
    return inner_sane_get_devices(device_list, local_only);
}

SANE_Status sane_pelsane_open(SANE_String_Const name, SANE_Handle *handle)
{
    return inner_sane_open(name, handle);
}

void sane_pelsane_close(SANE_Handle handle)
{
    inner_sane_close(handle);
}

const SANE_Option_Descriptor *sane_pelsane_get_option_descriptor(SANE_Handle handle, SANE_Int option)
{
    return inner_sane_get_option_descriptor(handle, option_key::from_index(option));
}

const SANE_Option_Descriptor *sane_pelsane_get_option_descriptor_ex(SANE_Handle handle, const void *option)
{
    return inner_sane_get_option_descriptor(handle, option);
}

SANE_Status sane_pelsane_control_option(SANE_Handle handle, SANE_Int option, SANE_Action action, void *value,
                                        SANE_Int *info)
{
    return inner_sane_control_option(handle, option_key::from_index(option), action, value, info);
}

SANE_Status sane_pelsane_control_option_ex(SANE_Handle handle, const void *option, SANE_Action action, void *value,
                                           SANE_Int *info)
{
    return inner_sane_control_option(handle, option, action, value, info);
}

SANE_Status sane_pelsane_get_parameters(SANE_Handle handle, SANE_Parameters *parameters)
{
    return inner_sane_get_parameters(handle, parameters);
}

SANE_Status sane_pelsane_get_parameters_ex(SANE_Handle handle, SANE_Image *image)
{
    return inner_sane_get_parameters_ex(handle, image);
}

SANE_Status sane_pelsane_start(SANE_Handle handle)
{
    return inner_sane_start(handle);
}

SANE_Status sane_pelsane_read(SANE_Handle handle, SANE_Byte *data, SANE_Int max_length, SANE_Int *length)
{
    return inner_sane_read(handle, data, max_length, length);
}

void sane_pelsane_cancel(SANE_Handle handle)
{
    inner_sane_cancel(handle);
}

SANE_Status sane_pelsane_set_io_mode(SANE_Handle handle, SANE_Bool non_blocking)
{
    return inner_sane_set_io_mode(handle, non_blocking);
}

SANE_Status sane_pelsane_get_select_fd(SANE_Handle handle, SANE_Int *fd)
{
    return inner_sane_get_select_fd(handle, fd);
}

SANE_String_Const sane_pelsane_strstatus(SANE_Status status)
{
    return inner_sane_strstatus(status);
}

SANE_String_Const sane_pelsane_err_desc(SANE_Status status)
{
    return inner_sane_err_desc(status);
}

SANE_Status sane_pelsane_io_control(SANE_Handle handle, unsigned long code, void *data, unsigned int *length)
{
    return inner_sane_io_control(handle, code, data, length);
}

SANE_Status sane_pelsane_read_ext_info()
{
    return inner_sane_read_ext();
}

SANE_Status sane_ex_get_driver_version(SANE_Int *major, SANE_Int *minor, SANE_Int *micro, SANE_Int *build)
{
    return inner_sane_ex_get_driver_version(major, minor, micro, build);
}

} // extern "C"
#pragma GCC visibility pop
