/* SPDX-License-Identifier: MIT */
/*
 * What this backend offers beyond the SANE standard: the extension entry points, their types and actions.
 *
 * Where nothing else is said, handles, ownership and status codes are as in the standard's entry points. An option
 * key is a pointer-sized value: the address of an option's name (NUL-terminated), or below 0x10000 the option's
 * number, its well-known identifier, or an information item of the driver (both from 0x8801 on).
 */
#ifndef PELSANE_SANE_EX_H
#define PELSANE_SANE_EX_H

#include <sane/sane.h> // IWYU pragma: export

#ifdef __cplusplus
extern "C" {
#endif

/* Image information: the standard's parameters, then 24 bytes that the driver fills as it likes. */
typedef struct {
    SANE_Parameters parameters;
    unsigned char driver_data[24];
} SANE_Image;

/* Actions of control_option: the default value, and the well-known identifier (a SANE_Int), into the value buffer. */
enum { SANE_ACTION_GET_DEFAULT = 100, SANE_ACTION_GET_FIXED_ID = 101 };

/*
 * Receives the driver's events, on a thread of the driver; what it answers goes back to the driver. handle is the SANE
 * handle of the device or null, data and length are the driver's for the call. Event 3 asks for access to a device
 * that is being opened: data holds, after an 8-byte pointer, user name, password and extra text, 256 bytes each, to be
 * filled in; answer 0 to go on, anything else to give up.
 */
typedef int (*sane_event_callback)(void *handle, int event, void *data, unsigned int *length, void *parameter);

/* sane_init with an event callback (null: none) and the parameter that it is handed. Devices opened while a callback
   is registered have the driver's own options only, without "page-width", "page-height" and "duplex". */
SANE_Status sane_pelsane_init_ex(SANE_Int *version_code, sane_event_callback callback, void *parameter);

/* As the standard's functions, with an option key. Null / SANE_STATUS_INVAL for a negative key. */
const SANE_Option_Descriptor *sane_pelsane_get_option_descriptor_ex(SANE_Handle handle, const void *option);
SANE_Status sane_pelsane_control_option_ex(SANE_Handle handle, const void *option, SANE_Action action, void *value,
                                           SANE_Int *info);

SANE_Status sane_pelsane_get_parameters_ex(SANE_Handle handle, SANE_Image *image);

/* Passes a control code with its data to the driver; what they mean is the driver's. */
SANE_Status sane_pelsane_io_control(SANE_Handle handle, unsigned long code, void *data, unsigned int *length);

/* Always SANE_STATUS_UNSUPPORTED. */
SANE_Status sane_pelsane_read_ext_info(void);

/* Text of a status, or of a driver code that was passed through as one; the driver's memory. */
SANE_String_Const sane_pelsane_err_desc(SANE_Status status);

/* The driver library's version; each pointer may be null. Always SANE_STATUS_GOOD. */
SANE_Status sane_ex_get_driver_version(SANE_Int *major, SANE_Int *minor, SANE_Int *micro, SANE_Int *build);

#ifdef __cplusplus
}
#endif

#endif
