/* SPDX-License-Identifier: MIT */
/*
 * Every entry point with null and zero everywhere: before init, after it, with an open device, through the handle of a
 * closed one, and after exit. The driver answers 256 (invalid parameter) for a null handle and has one device.
 */
#include "sane_ex.h"
#include "sane_pelsane.h"

#include <stdio.h>
#include <string.h>

static int failures = 0;
static const char *stage = "";

static void expect(int holds, const char *what)
{
    if (!holds) {
        fprintf(stderr, "%s: not so: %s\n", stage, what);
        ++failures;
    }
}

#define EXPECT(condition) expect((condition), #condition)

static void call_what_needs_no_device(void)
{
    EXPECT(sane_pelsane_get_devices(NULL, SANE_FALSE) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_open(NULL, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_get_select_fd(NULL, NULL) == SANE_STATUS_UNSUPPORTED);
    EXPECT(sane_pelsane_read_ext_info() == SANE_STATUS_UNSUPPORTED);
    EXPECT(sane_ex_get_driver_version(NULL, NULL, NULL, NULL) == SANE_STATUS_GOOD);
    EXPECT(sane_pelsane_strstatus(SANE_STATUS_GOOD) != NULL);
    EXPECT(sane_pelsane_err_desc(SANE_STATUS_GOOD) != NULL);
    EXPECT(strcmp(sane_pelsane_strstatus(SANE_STATUS_INVAL), "error 256") == 0);
}

static void call_options_without_device(SANE_Handle handle)
{
    static const SANE_Action actions[] = {SANE_ACTION_GET_VALUE,
                                          SANE_ACTION_SET_VALUE,
                                          SANE_ACTION_SET_AUTO,
                                          (SANE_Action)SANE_ACTION_GET_DEFAULT,
                                          (SANE_Action)SANE_ACTION_GET_FIXED_ID,
                                          (SANE_Action)3,
                                          (SANE_Action)-1};
    EXPECT(sane_pelsane_get_option_descriptor(handle, 0) == NULL);
    EXPECT(sane_pelsane_get_option_descriptor(handle, 1) == NULL);
    EXPECT(sane_pelsane_get_option_descriptor(handle, -1) == NULL);
    EXPECT(sane_pelsane_get_option_descriptor_ex(handle, NULL) == NULL);
    EXPECT(sane_pelsane_get_option_descriptor_ex(handle, "paper") == NULL);
    for (size_t i = 0; i < sizeof actions / sizeof actions[0]; ++i) {
        EXPECT(sane_pelsane_control_option(handle, 0, actions[i], NULL, NULL) == SANE_STATUS_INVAL);
        EXPECT(sane_pelsane_control_option(handle, -1, actions[i], NULL, NULL) == SANE_STATUS_INVAL);
        EXPECT(sane_pelsane_control_option_ex(handle, NULL, actions[i], NULL, NULL) == SANE_STATUS_INVAL);
        EXPECT(sane_pelsane_control_option_ex(handle, "paper", actions[i], NULL, NULL) == SANE_STATUS_INVAL);
    }
}

/* A handle that is not open: null, closed, or invented. */
static void call_without_device(SANE_Handle handle)
{
    SANE_Int length = 5;
    call_options_without_device(handle);
    EXPECT(sane_pelsane_get_parameters(handle, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_get_parameters_ex(handle, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_start(handle) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_read(handle, NULL, 0, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_read(handle, NULL, 0, &length) == SANE_STATUS_INVAL);
    EXPECT(length == 0);
    EXPECT(sane_pelsane_set_io_mode(handle, SANE_FALSE) == SANE_STATUS_GOOD);
    EXPECT(sane_pelsane_set_io_mode(handle, SANE_TRUE) == SANE_STATUS_UNSUPPORTED);
    EXPECT(sane_pelsane_io_control(handle, 0, NULL, NULL) == SANE_STATUS_INVAL);
    sane_pelsane_cancel(handle);
    sane_pelsane_close(handle);
}

static void call_with_device(SANE_Handle handle)
{
    SANE_Word word = 0;
    EXPECT(sane_pelsane_get_option_descriptor(handle, 0) != NULL);
    EXPECT(sane_pelsane_get_option_descriptor_ex(handle, NULL) != NULL);
    EXPECT(sane_pelsane_get_option_descriptor(handle, 1) == NULL);
    EXPECT(sane_pelsane_get_option_descriptor(handle, -1) == NULL);
    EXPECT(sane_pelsane_get_option_descriptor_ex(handle, "paper") == NULL);
    EXPECT(sane_pelsane_control_option(handle, 0, SANE_ACTION_GET_VALUE, NULL, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_control_option(handle, 0, SANE_ACTION_GET_VALUE, &word, NULL) == SANE_STATUS_GOOD);
    EXPECT(word == 1);
    EXPECT(sane_pelsane_control_option(handle, 0, SANE_ACTION_SET_VALUE, NULL, NULL) == SANE_STATUS_UNSUPPORTED);
    EXPECT(sane_pelsane_control_option(handle, 0, SANE_ACTION_SET_AUTO, NULL, NULL) == SANE_STATUS_UNSUPPORTED);
    EXPECT(sane_pelsane_control_option(handle, 0, (SANE_Action)100, NULL, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_control_option(handle, 0, (SANE_Action)101, NULL, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_control_option(handle, 0, (SANE_Action)3, NULL, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_control_option(handle, -1, SANE_ACTION_SET_VALUE, &word, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_get_parameters(handle, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_get_parameters_ex(handle, NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_start(handle) == SANE_STATUS_GOOD);
    EXPECT(sane_pelsane_read(handle, NULL, 0, NULL) == SANE_STATUS_EOF);
    EXPECT(sane_pelsane_io_control(handle, 0, NULL, NULL) == SANE_STATUS_GOOD);
    sane_pelsane_cancel(handle);
}

static void run_stage(const char *name, SANE_Handle closed)
{
    stage = name;
    call_what_needs_no_device();
    call_without_device(NULL);
    call_without_device(closed);
}

int main(void)
{
    SANE_Handle handle = NULL;
    SANE_Handle invented = (SANE_Handle)0xDEAD;
    run_stage("before init", invented);
    sane_pelsane_exit();

    stage = "init";
    EXPECT(sane_pelsane_init(NULL, NULL) == SANE_STATUS_GOOD);
    EXPECT(sane_pelsane_init_ex(NULL, NULL, NULL) == SANE_STATUS_GOOD);
    run_stage("after init", invented);

    stage = "open device";
    EXPECT(sane_pelsane_open("virtual:1", NULL) == SANE_STATUS_INVAL);
    EXPECT(sane_pelsane_open("virtual:1", &handle) == SANE_STATUS_GOOD);
    EXPECT(handle != NULL);
    call_with_device(handle);
    sane_pelsane_close(handle);

    run_stage("closed device", handle);
    sane_pelsane_exit();
    run_stage("after exit", handle);
    sane_pelsane_exit();
    sane_pelsane_exit();
    return failures == 0 ? 0 : 1;
}
