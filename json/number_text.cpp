// SPDX-License-Identifier: MIT
// The locale-explicit halves of the C++ and C libraries: std::to_chars never looks at a locale, strtod_l is told one.
// Tested by tests/json/number_text_test.cpp, under a locale with decimal commas too.
#include "number_text.h"

#include <charconv>
#include <cstddef>
#include <limits>
#include <locale.h>
#include <stdlib.h>
#include <string>

std::string number_to_text(double number)
{
    constexpr int digits = std::numeric_limits<double>::max_exponent10 + 1;
    char text[digits + sizeof("-.000000")];
    const auto end = std::to_chars(text, text + sizeof(text), number, std::chars_format::fixed, 6).ptr;
    return {text, end};
}

double text_to_number(const char *text)
{
    std::size_t unused = 0;
    return text_to_number(text, unused);
}

double text_to_number(const char *text, std::size_t &length)
{
    static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr); // a constant of the C library, never freed
    char *end = nullptr;
    const double number = strtod_l(text, &end, c_locale);
    length = static_cast<std::size_t>(end - text);
    return number;
}
