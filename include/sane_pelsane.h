/* SPDX-License-Identifier: MIT */
/* The SANE standard's entry points under this backend's name. Contracts: the SANE standard, section 4.3, with what
   sane_ex.h adds. Where the backend does more or less than the standard asks, it is said here. */
#ifndef PELSANE_SANE_PELSANE_H
#define PELSANE_SANE_PELSANE_H

#include <sane/sane.h> // IWYU pragma: export

#ifdef __cplusplus
extern "C" {
#endif

/* Starts the driver at the first call; every call pauses half a second for device discovery. */
SANE_Status sane_pelsane_init(SANE_Int *version_code, SANE_Auth_Callback authorize);
void sane_pelsane_exit(void);

/* The list stays valid until the next successful call, or until the library is unloaded. */
SANE_Status sane_pelsane_get_devices(const SANE_Device ***device_list, SANE_Bool local_only);

/* An empty name is the driver's to interpret; a null one is invalid, as is a driver that opens nothing an I/O error.
   Driver codes that have no SANE status pass through as numbers; see sane_pelsane_err_desc. */
SANE_Status sane_pelsane_open(SANE_String_Const name, SANE_Handle *handle);
void sane_pelsane_close(SANE_Handle handle);

/* A descriptor keeps its address until its device is closed; its content changes when options are reloaded. */
const SANE_Option_Descriptor *sane_pelsane_get_option_descriptor(SANE_Handle handle, SANE_Int option);
SANE_Status sane_pelsane_control_option(SANE_Handle handle, SANE_Int option, SANE_Action action, void *value,
                                        SANE_Int *info);

SANE_Status sane_pelsane_get_parameters(SANE_Handle handle, SANE_Parameters *parameters);
SANE_Status sane_pelsane_start(SANE_Handle handle);
SANE_Status sane_pelsane_read(SANE_Handle handle, SANE_Byte *data, SANE_Int max_length, SANE_Int *length);

/* Callable from signal handlers and from other threads than the one that reads. */
void sane_pelsane_cancel(SANE_Handle handle);

/* Blocking mode only. */
SANE_Status sane_pelsane_set_io_mode(SANE_Handle handle, SANE_Bool non_blocking);
SANE_Status sane_pelsane_get_select_fd(SANE_Handle handle, SANE_Int *fd);

SANE_String_Const sane_pelsane_strstatus(SANE_Status status);

#ifdef __cplusplus
}
#endif

#endif
