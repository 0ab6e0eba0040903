/* SPDX-License-Identifier: MIT */
/*
 * What this stand-in of the language library offers beyond the makers' interface. Who is to run on the makers' library
 * too declares these functions weak and looks whether they are there.
 */
#ifndef PELSANE_LANGKIT_CONTROL_H
#define PELSANE_LANGKIT_CONTROL_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Makes `tag` ("en", "zh", "zh_CN.UTF-8") the current language. When that changes it, everyone who is registered for it
 * is notified on this thread before the call returns; no lock is held meanwhile. 0; 256 when tag is null or there is no
 * catalogue of that language.
 */
int langkit_set_language(const char *tag);

/* Tag of the current language, as in its catalogue ("en"). Valid until the library is unloaded. */
const char *langkit_language(void);

#ifdef __cplusplus
}
#endif

#endif
