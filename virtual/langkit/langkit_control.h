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

/*
 * Bytes, without the NUL, of the longest text that from_default_language returns for `word` in any language that
 * langkit_set_language takes; of the longest that lang_load_string returns for `word_id`. They stay the same as long as
 * the library is loaded. -1 when memory is short or word is null.
 */
long langkit_longest_text(const char *word);
long langkit_longest_word(int word_id);

#ifdef __cplusplus
}
#endif

#endif
