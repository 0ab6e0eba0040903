// SPDX-License-Identifier: MIT
// The guarded layer behind the entry points: the same functions with the middleware object found and no exception let
// out. Exported too, for hosts that link the library directly. Contracts: sane_pelsane.h and sane_ex.h.
#ifndef PELSANE_INNER_SANE_H
#define PELSANE_INNER_SANE_H

#include "sane_ex.h"

#include <sane/sane.h>

#pragma GCC visibility push(default)
extern "C" {

extern SANE_Int sanei_debug_pelsane; // SANE's debug level by its conventional name; the backend never reads it
void *sanei_debug_msg(void *argument);

SANE_Status inner_sane_init(SANE_Int *version_code);
SANE_Status inner_sane_init_ex(SANE_Int *version_code, sane_event_callback callback, void *parameter);
void inner_sane_exit();
SANE_Status inner_sane_get_devices(const SANE_Device ***list, SANE_Bool local_only);
SANE_Status inner_sane_open(SANE_String_Const name, SANE_Handle *handle);
void inner_sane_close(SANE_Handle handle);
const SANE_Option_Descriptor *inner_sane_get_option_descriptor(SANE_Handle handle, const void *option);
SANE_Status inner_sane_control_option(SANE_Handle handle, const void *option, SANE_Action action, void *value,
                                      SANE_Int *info);
SANE_Status inner_sane_get_parameters(SANE_Handle handle, SANE_Parameters *parameters);
SANE_Status inner_sane_get_parameters_ex(SANE_Handle handle, SANE_Image *image);
SANE_Status inner_sane_start(SANE_Handle handle);
SANE_Status inner_sane_read(SANE_Handle handle, SANE_Byte *data, SANE_Int max_length, SANE_Int *length);
void inner_sane_cancel(SANE_Handle handle);
SANE_Status inner_sane_set_io_mode(SANE_Handle handle, SANE_Bool non_blocking);
SANE_Status inner_sane_get_select_fd(SANE_Handle handle, SANE_Int *fd);
SANE_String_Const inner_sane_strstatus(SANE_Status status);
SANE_String_Const inner_sane_err_desc(SANE_Status status);
SANE_Status inner_sane_io_control(SANE_Handle handle, unsigned long code, void *data, unsigned int *length);
SANE_Status inner_sane_read_ext();
SANE_Status inner_sane_ex_get_driver_version(SANE_Int *major, SANE_Int *minor, SANE_Int *micro, SANE_Int *build);

} // extern "C"
#pragma GCC visibility pop

#endif
