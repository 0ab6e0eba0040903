/* SPDX-License-Identifier: MIT */
/*
 * A maker's three libraries, as far as a listing of scanners needs them: one scanner, "maker:scanner", which nobody can
 * open. Built three times under their names; script/package-test puts them where makers may.
 */
#include "commonlog.h"
#include "kx_scanner.h"
#include "langkit.h"

#include <string.h>

#pragma GCC visibility push(default)

void *EnableLog(int reserved, const char *owner, const char *name)
{
    (void)reserved, (void)owner, (void)name;
    return NULL;
}

void DisableLog(void *log)
{
    (void)log;
}

void DebugLog(void *log, const char *format, ...)
{
    (void)log, (void)format;
}

void InfoLog(void *log, const char *format, ...)
{
    (void)log, (void)format;
}

void WarnLog(void *log, const char *format, ...)
{
    (void)log, (void)format;
}

void CriticalLog(void *log, const char *format, ...)
{
    (void)log, (void)format;
}

const char *lang_load_string(int word_id, int *status, int reserved)
{
    (void)word_id, (void)status, (void)reserved;
    return "";
}

const char *from_default_language(const char *word, int *status)
{
    (void)status;
    return word;
}

int register_language_changed_notify(void (*notify)(int, void *), int add, void *parameter)
{
    (void)notify, (void)add, (void)parameter;
    return 0;
}

char *get_file_path(const char *module, char *path)
{
    (void)module, (void)path;
    return NULL;
}

int kx_scanner_set_sane_info(const char *name, const char *version)
{
    (void)name, (void)version;
    return SCANNER_ERR_OK;
}

int kx_scanner_initialize(kx_event_callback callback, void *parameter)
{
    (void)callback, (void)parameter;
    return SCANNER_ERR_OK;
}

int kx_scanner_uninitialize(void)
{
    return SCANNER_ERR_OK;
}

unsigned int kx_scanner_get_version(void)
{
    return 0x02000000;
}

const char *kx_scanner_err_description(int code)
{
    (void)code;
    return "the maker's driver says no";
}

int kx_scanner_enum(void *records, int *count, int local_only)
{
    struct _device scanner = {0, "maker:scanner", "Maker", "Scanner", "sheetfed scanner"};
    const int room = *count;
    (void)local_only;
    *count = 1;
    if (records == NULL || room < 1)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    memcpy(records, &scanner, sizeof scanner);
    return SCANNER_ERR_OK;
}

int kx_scanner_open(void **handle, const char *name, int flag, const char *user, const char *password,
                    const char *extra, char *need_auth)
{
    (void)handle, (void)name, (void)flag, (void)user, (void)password, (void)extra, (void)need_auth;
    return SCANNER_ERR_ACCESS_DENIED;
}

int kx_scanner_close(void *handle, int force)
{
    (void)handle, (void)force;
    return SCANNER_ERR_INVALID_PARAMETER;
}

int kx_scanner_get_parameter(void *handle, const void *option, void *data, long *length, int *id)
{
    (void)handle, (void)option, (void)data, (void)length, (void)id;
    return SCANNER_ERR_INVALID_PARAMETER;
}

int kx_scanner_set_parameter(void *handle, const void *option, void *data, long *length)
{
    (void)handle, (void)option, (void)data, (void)length;
    return SCANNER_ERR_INVALID_PARAMETER;
}

int kx_scanner_get_status(void *handle, int which)
{
    (void)handle, (void)which;
    return SCANNER_ERR_INVALID_PARAMETER;
}

int kx_scanner_control(void *handle, unsigned long code, void *data, unsigned int *length)
{
    (void)handle, (void)code, (void)data, (void)length;
    return SCANNER_ERR_INVALID_PARAMETER;
}

int kx_scanner_start(void *handle, void *event, int timeout)
{
    (void)handle, (void)event, (void)timeout;
    return SCANNER_ERR_INVALID_PARAMETER;
}

int kx_scanner_read_img_data(void *handle, void *data, long *count)
{
    (void)handle, (void)data, (void)count;
    return SCANNER_ERR_INVALID_PARAMETER;
}

int kx_scanner_stop(void *handle)
{
    (void)handle;
    return SCANNER_ERR_INVALID_PARAMETER;
}

int kx_scanner_get_img_info(void *handle, void *info, int size)
{
    (void)handle, (void)info, (void)size;
    return SCANNER_ERR_INVALID_PARAMETER;
}

#pragma GCC visibility pop
