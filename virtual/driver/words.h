// SPDX-License-Identifier: MIT
// The language library as the scanner uses it.
#ifndef PELSANE_VIRTUAL_WORDS_H
#define PELSANE_VIRTUAL_WORDS_H

#include <cstddef>
#include <string>

namespace virtual_scanner {

// A word of the default language in the current one; the word itself when it has no translation. Throws std::bad_alloc,
// also for a library that is short of memory.
std::string in_current_language(const std::string &word);

// A word as an option of this size shows it: in the current language, or as it is where the library returns what does
// not fit with its NUL, or is no UTF-8, which only one can do that does not tell its longest texts. Throws
// std::bad_alloc.
std::string as_shown(const std::string &word, int size);

// Bytes of the longest text, without its NUL, as which a word may be shown in any language that can be switched to: the
// word, its translations, and where it reads as a word id ("1012." or "1012.0", as the application's side takes it) the
// text with that id. With a library that does not tell, those in the current language. Throws std::bad_alloc.
std::size_t longest_shown(const std::string &word);

// Switches the language of the whole process and so lets the library notify everyone. False when it has no such
// language, or when the language library in use cannot be switched.
bool switch_language(const std::string &tag);

// Tag of the current language, empty when the library in use does not tell.
std::string current_language();

} // namespace virtual_scanner

#endif
