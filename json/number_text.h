// SPDX-License-Identifier: MIT
// Numbers to texts and back, always as in the C locale: the host application's locale must neither show in values nor
// be changed for them.
#ifndef PELSANE_NUMBER_TEXT_H
#define PELSANE_NUMBER_TEXT_H

#include <cstddef>
#include <string>

// As printf's "%f" prints it: six decimals after a '.'.
std::string number_to_text(double number);

// As strtod reads it: leading white space skipped, the longest numeric prefix used, 0 when there is none.
double text_to_number(const char *text);
double text_to_number(const char *text, std::size_t &length); // of the prefix

#endif
