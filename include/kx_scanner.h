/* SPDX-License-Identifier: MIT */
/*
 * The scanner driver library, libpeldriver.so: its functions, result codes and memory layouts.
 *
 * The library is the scanner maker's; virtual/driver has a stand-in with the same binary interface. All
 * functions have C linkage and answer a SCANNER_ERR_* code unless said otherwise.
 */
#ifndef PELSANE_KX_SCANNER_H
#define PELSANE_KX_SCANNER_H

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes. 260, 261, 262, 277 and 278 are successes that say what else happened. */
enum {
    SCANNER_ERR_OK = 0,
    SCANNER_ERR_INVALID_PARAMETER = 256,
    SCANNER_ERR_INSUFFICIENT_MEMORY = 258, /* the caller's buffer is too small; the length needed is stored */
    SCANNER_ERR_ACCESS_DENIED = 259,
    SCANNER_ERR_INFO_260 = 260,
    SCANNER_ERR_NOT_EXACT = 261,             /* applied with the nearest value, written back in place */
    SCANNER_ERR_CONFIGURATION_CHANGED = 262, /* applied, other options changed with it */
    SCANNER_ERR_NO_DATA = 266,               /* end of the page or of the job */
    SCANNER_ERR_INVALID_STATE = 268,
    SCANNER_ERR_IO = 269,
    SCANNER_ERR_IO_2 = 270,
    SCANNER_ERR_NOT_READY = 276,
    SCANNER_ERR_RELOAD_IMAGE_PARAM = 277, /* applied, the image parameters changed */
    SCANNER_ERR_RELOAD_OPT_PARAM = 278,   /* applied, image parameters and other options changed */

    SCANNER_ERR_DEVICE_NOT_FOUND = 0xDE00,
    SCANNER_ERR_DEVICE_NOT_SUPPORT = 0xDE01,
    SCANNER_ERR_DEVICE_BUSY = 0xDE02,
    SCANNER_ERR_DEVICE_COVER_OPENNED = 0xDE06,
    SCANNER_ERR_DEVICE_NO_PAPER = 0xDE07,
    SCANNER_ERR_DEVICE_PAPER_JAMMED = 0xDE0A
};

/* Event codes with a meaning to the backend; all others are the driver's own. */
enum {
    KX_EVENT_IS_LISTENED = 1, /* does a frontend listen? answered by the backend, never forwarded */
    KX_EVENT_ACCESS = 3       /* data is a kx_access: the frontend fills it and answers 0 to go on */
};

/* kx_scanner_control code: data is an _opt_enabled, no length. */
#define KX_CONTROL_OPTION_ENABLED 0x10000001UL

/* One record of kx_scanner_enum. The texts may fill their fields without a terminator. */
struct _device {
    int reserved;
    char name[256];
    char vendor[256];
    char model[256];
    char type[256];
};

/* What a frontend fills in when a device asks for access; `tail` points at `trailing`. */
struct kx_access {
    void *tail;
    char user[256];
    char password[256];
    char extra[256];
    char trailing[16];
};

/* A master's current value inside the notice below. `value` points at a NUL-terminated text for an option of type
   "string", else at 8 bytes: a byte 0 or 1 for "bool", a 32-bit integer for "int", a double for any other type. */
struct _opt_value {
    char name[64];
    void *value;
};

/* Notice that a dependent option became active or inactive. The memory is the sender's, for the call alone. */
struct _opt_enabled {
    char name[64];
    int enabled;
    int count;
    struct _opt_value opts[1]; /* `count` entries */
};

/* Called by the driver on a thread of its own, between initialize and uninitialize. */
typedef int (*kx_event_callback)(void *handle, int event, void *data, unsigned int *length, void *parameter);

int kx_scanner_set_sane_info(const char *name, const char *version);
int kx_scanner_initialize(kx_event_callback callback, void *parameter);
int kx_scanner_uninitialize(void);

/* One byte per part: major in bits 31-24, then minor, micro, build. */
unsigned int kx_scanner_get_version(void);

/* Text of a result code; the driver's memory. */
const char *kx_scanner_err_description(int code);

/* records: room for *count records, back to back. *count out: the records there are. */
int kx_scanner_enum(void *records, int *count, int local_only);

/* *need_auth becomes non-zero when the device asks for access. */
int kx_scanner_open(void **handle, const char *name, int flag, const char *user, const char *password,
                    const char *extra, char *need_auth);
int kx_scanner_close(void *handle, int force);

/*
 * `option` is a number below 0x10000 (an option's number, or from 0x8800 on a well-known identifier or an information
 * item) or the address of a name. Key 0 without a buffer stores the number of options, option 0 counted, in *length.
 * get: *length in: room in data; out: length of the text without a terminator. *id (may be null): the option's number.
 */
int kx_scanner_get_parameter(void *handle, const void *option, void *data, long *length, int *id);
int kx_scanner_set_parameter(void *handle, const void *option, void *data, long *length);

/* A status code of the device itself, 0xDE00 when it is gone. */
int kx_scanner_get_status(void *handle, int which);
int kx_scanner_control(void *handle, unsigned long code, void *data, unsigned int *length);

int kx_scanner_start(void *handle, void *event, int timeout);

/* *count in: room in data; out: bytes delivered. */
int kx_scanner_read_img_data(void *handle, void *data, long *count);

/* May be called from any thread and from a signal handler while a read waits. */
int kx_scanner_stop(void *handle);

/* size 24: info is a SANE_Parameters; size 48: a SANE_Image. */
int kx_scanner_get_img_info(void *handle, void *info, int size);

#ifdef __cplusplus
}
#endif

#endif
