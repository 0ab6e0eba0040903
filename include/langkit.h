/* SPDX-License-Identifier: MIT */
/* The language library, liblangkit.so, as the backend reaches it. virtual/langkit has a stand-in. */
#ifndef PELSANE_LANGKIT_H
#define PELSANE_LANGKIT_H

#ifdef __cplusplus
extern "C" {
#endif

/* Text of a word id in the current language; the library's memory. status (may be null): 0 when the id is known. */
const char *lang_load_string(int word_id, int *status, int reserved);

/* A word of the default language in the current one, the word itself when it is unknown; the library's memory. */
const char *from_default_language(const char *word, int *status);

/* add 1: call notify(_, parameter) whenever the language changes, on the thread that changes it; add 0: no more. */
int register_language_changed_notify(void (*notify)(int, void *), int add, void *parameter);

/* Full path of the loaded module whose file name contains `module`, written to path (512 zeroed bytes) and answered;
   null when there is none. */
char *get_file_path(const char *module, char *path);

#ifdef __cplusplus
}
#endif

#endif
