// SPDX-License-Identifier: MIT
// JSON texts under locales whose decimal point is more than one byte (ps_AF has U+066B). cJSON reads and prints numbers
// with the C library's functions that follow the locale, and replaces one byte: there it takes no number with a
// fraction, and prints the rest of the point's bytes. A library does not change its host's locale, so the texts are
// made such that the point plays no part.
#ifndef PELSANE_RADIX_CHARACTER_H
#define PELSANE_RADIX_CHARACTER_H

#include <string>

// Whether the locale that is in force has such a point.
bool is_radix_character_long();

// The document with its numbers written without a point: 0.5 is 5e-1. Whatever is no number stays as it is.
std::string without_points(const char *document);

// What cJSON printed, with a '.' in its numbers.
std::string with_plain_points(const std::string &printed);

#endif
