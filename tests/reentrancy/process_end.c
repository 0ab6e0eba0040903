/* SPDX-License-Identifier: MIT */
/* An application that ends without a last exit, on the virtual scanner, which has static objects of its own. Arguments
   say what comes behind a first exit: "close" of a handle that is not open, or "open" of a device. */
#include "sane_pelsane.h"

#include <stdio.h>
#include <string.h>

static int first_device(SANE_Handle *device)
{
    const SANE_Device **list = NULL;
    return sane_pelsane_get_devices(&list, SANE_TRUE) == SANE_STATUS_GOOD && list[0] != NULL &&
           sane_pelsane_open(list[0]->name, device) == SANE_STATUS_GOOD;
}

int main(int count, char **words)
{
    SANE_Handle device = NULL;
    if (count != 2 || sane_pelsane_init(NULL, NULL) != SANE_STATUS_GOOD || !first_device(&device))
        return 2;
    if (strcmp(words[1], "nothing") != 0)
        sane_pelsane_exit();
    if (strcmp(words[1], "close") == 0)
        sane_pelsane_close(device);
    if (strcmp(words[1], "open") == 0 && (sane_pelsane_init(NULL, NULL) != SANE_STATUS_GOOD || !first_device(&device)))
        return 2;
    puts("main returns");
    return 0;
}
