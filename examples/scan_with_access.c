/* SPDX-License-Identifier: MIT */
/*
 * Scans a page through the backend's extension interface, from a device that may ask who is there.
 *
 *     cc -o scan_with_access scan_with_access.c $(pkg-config --cflags --libs pelsane)
 *     ./scan_with_access pelsane:virtual:duplex-feeder 100 >page.pnm
 *
 * SANE's own library has no way to these functions: an application that uses them is linked with the backend. Device
 * names are then the backend's, without "pelsane:" in front. The first argument is the device, without it the first
 * that is found; the second is the resolution. A question for access is answered from standard input.
 */
#include <sane/sane.h>
#include <sane/sane_ex.h>
#include <sane/sane_pelsane.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { event_access = 3 };

/* What the data of event_access points at. */
struct access_question {
    void *reserved;
    char user[256];
    char password[256];
    char extra[256];
};

/* 0 when there is no line any more. An application with a password of somebody's would not show it on the screen. */
static int ask(const char *question, char *answer, int room)
{
    fprintf(stderr, "%s: ", question);
    if (fgets(answer, room, stdin) == NULL)
        return 0;
    answer[strcspn(answer, "\n")] = '\0';
    return 1;
}

/* The driver's events. That for access comes while sane_pelsane_open runs, all others at any time, on another thread.
 */
static int take_event(void *handle, int event, void *data, unsigned int *length, void *parameter)
{
    struct access_question *question = data;
    (void)handle;
    (void)length;
    if (event != event_access)
        return 0;
    fprintf(stderr, "%s asks for access.\n", *(const char **)parameter);
    if (ask("User", question->user, sizeof question->user) &&
        ask("Password", question->password, sizeof question->password))
        return 0;
    return 1; /* anything but 0 gives up */
}

static int failed(const char *what, SANE_Status status)
{
    fprintf(stderr, "%s: %s\n", what, sane_pelsane_err_desc(status));
    return EXIT_FAILURE;
}

/* An empty name when there is no device. */
static const char *first_device(void)
{
    const SANE_Device **devices = NULL;
    if (sane_pelsane_get_devices(&devices, SANE_FALSE) != SANE_STATUS_GOOD || devices[0] == NULL)
        return "";
    return devices[0]->name;
}

/* By name: no need to look through all options for their numbers. */
static SANE_Status set_resolution(SANE_Handle scanner, SANE_Int dpi)
{
    const SANE_Option_Descriptor *option = sane_pelsane_get_option_descriptor_ex(scanner, "resolution");
    if (option == NULL || option->type != SANE_TYPE_INT)
        return SANE_STATUS_UNSUPPORTED;
    return sane_pelsane_control_option_ex(scanner, "resolution", SANE_ACTION_SET_VALUE, &dpi, NULL);
}

/* A PNM image to standard output: P4 for one bit a point, P5 for grey, P6 for colour. */
static SANE_Status write_page(SANE_Handle scanner, const SANE_Parameters *page)
{
    const int kind = page->format == SANE_FRAME_RGB ? 6 : page->depth == 1 ? 4 : 5;
    SANE_Byte data[32768];
    SANE_Int length = 0;
    SANE_Status status;
    printf("P%d\n%d %d\n%s", kind, page->pixels_per_line, page->lines, kind == 4 ? "" : "255\n");
    while ((status = sane_pelsane_read(scanner, data, sizeof data, &length)) == SANE_STATUS_GOOD)
        fwrite(data, 1, (size_t)length, stdout);
    if (fflush(stdout) != 0 || ferror(stdout))
        return SANE_STATUS_IO_ERROR;
    return status == SANE_STATUS_EOF ? SANE_STATUS_GOOD : status;
}

static int scan(SANE_Handle scanner)
{
    SANE_Image image;
    SANE_Status status = sane_pelsane_start(scanner);
    if (status != SANE_STATUS_GOOD)
        return failed("The scan could not be started", status);
    status = sane_pelsane_get_parameters_ex(scanner, &image);
    if (status != SANE_STATUS_GOOD)
        return failed("The page's size is not known", status);
    status = write_page(scanner, &image.parameters);
    sane_pelsane_cancel(scanner);
    return status == SANE_STATUS_GOOD ? EXIT_SUCCESS : failed("The page could not be read", status);
}

static int scan_device(const char *name, const char *resolution)
{
    SANE_Handle scanner = NULL;
    int result;
    SANE_Status status = sane_pelsane_open(name, &scanner);
    if (status != SANE_STATUS_GOOD)
        return failed("The scanner could not be opened", status);
    if (resolution != NULL)
        status = set_resolution(scanner, atoi(resolution));
    result = status == SANE_STATUS_GOOD ? scan(scanner) : failed("The resolution could not be set", status);
    sane_pelsane_close(scanner);
    return result;
}

int main(int count, char **arguments)
{
    const char *name = "";
    SANE_Int major = 0, minor = 0, micro = 0, build = 0;
    int result;
    SANE_Status status = sane_pelsane_init_ex(NULL, take_event, (void *)&name);
    if (status != SANE_STATUS_GOOD)
        return failed("The backend could not be started", status);
    sane_ex_get_driver_version(&major, &minor, &micro, &build);
    fprintf(stderr, "Driver %d.%d.%d.%d\n", major, minor, micro, build);
    name = count > 1 ? arguments[1] : first_device();
    if (strncmp(name, "pelsane:", 8) == 0)
        name += 8;
    result = scan_device(name, count > 2 ? arguments[2] : NULL);
    sane_pelsane_exit();
    return result;
}
