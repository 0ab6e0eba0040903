// SPDX-License-Identifier: MIT
// The language library as the scanner uses it.
#ifndef PELSANE_VIRTUAL_WORDS_H
#define PELSANE_VIRTUAL_WORDS_H

#include <string>

namespace virtual_scanner {

// A word of the default language in the current one; the word itself when it has no translation.
std::string in_current_language(const std::string &word);

// Switches the language of the whole process and so lets the library notify everyone. False when it has no such
// language, or when the language library in use cannot be switched.
bool switch_language(const std::string &tag);

// Tag of the current language, empty when the library in use does not tell.
std::string current_language();

} // namespace virtual_scanner

#endif
