/* SPDX-License-Identifier: MIT */
/*
 * What the measurements tell the platform libraries of this folder, which answer everything from memory so that their
 * own cost is small and can be measured alone.
 */
#ifndef PELSANE_BENCH_PLATFORM_H
#define PELSANE_BENCH_PLATFORM_H

#ifdef __cplusplus
extern "C" {
#endif

/* The options of every device, as the driver describes them: `texts` are `"name" : {...}`, for the numbers from 1. They
   are borrowed until the next call. Devices are to be closed. */
void bench_describe_options(const char *const *texts, int count);

/* The number of devices that are listed. */
void bench_list_devices(int count);

/* The records of the devices that are listed, back to back. */
const void *bench_records(void);

/* Sends the notice of a changed language. */
void bench_change_language(void);

#ifdef __cplusplus
}
#endif

#endif
