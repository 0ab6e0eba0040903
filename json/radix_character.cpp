// SPDX-License-Identifier: MIT
// One walk over a text that knows strings from what stands between them. A number becomes its shortest decimal digits
// with the point taken out and the exponent lowered by the digits behind it, which reads as the same double.
// Tested by tests/json/locale_document_test.cpp.
#include "radix_character.h"

#include "number_text.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <string>
#include <string_view>

namespace {

constexpr char number_characters[] = "+-.0123456789Ee";

// Appends what is left of a string, its closing quote included.
void copy_string(const char *&p, std::string &out)
{
    do {
        if (*p == '\\' && p[1] != '\0')
            out += *p++;
        out += *p++;
    } while (*p != '\0' && *p != '"');
    if (*p == '"')
        out += *p++;
}

// A number without a point, such as 5e-1; without end or value where JSON has none ("1e999").
std::string pointless(double number)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof(digits), number, std::chars_format::scientific).ptr;
    std::string text(digits, end);
    const auto exponent = text.find('e');
    const auto point = text.find('.');
    if (exponent == std::string::npos)
        return number < 0 ? "-1e999" : "1e999"; // infinite, as the parser reads it
    if (point == std::string::npos)
        return text;
    const int lowered = std::atoi(text.c_str() + exponent + 1) - static_cast<int>(exponent - point - 1);
    text.resize(exponent);
    text.erase(point, 1);
    return text + 'e' + std::to_string(lowered);
}

void copy_number(const char *&p, std::string &out)
{
    const std::string run(p, std::strspn(p, number_characters));
    std::size_t length = 0;
    const double number = text_to_number(run.c_str(), length);
    if (length == 0 || run.find('.') >= length) {
        length = run.size();
        out += run;
    } else {
        out += pointless(number);
    }
    p += length;
}

// The locale's decimal point.
const char *point_of_locale()
{
    return nl_langinfo(RADIXCHAR); // NOLINT(concurrency-mt-unsafe): glibc's is safe, and cJSON asks the same
}

bool begins_number(char c)
{
    return c == '-' || (c >= '0' && c <= '9');
}

} // namespace

bool is_radix_character_long()
{
    const char *const radix_character = point_of_locale(); // asked with every document: no strlen
    return radix_character[0] != '\0' && radix_character[1] != '\0';
}

std::string without_points(const char *document)
{
    std::string out;
    for (const char *p = document; *p != '\0';) {
        if (*p == '"')
            copy_string(p, out);
        else if (begins_number(*p))
            copy_number(p, out);
        else
            out += *p++;
    }
    return out;
}

std::string with_plain_points(const std::string &printed)
{
    const std::string_view rest_of_point = point_of_locale() + 1;
    std::string out;
    for (const char *p = printed.c_str(); *p != '\0';) {
        if (*p == '"') {
            copy_string(p, out);
            continue;
        }
        const bool is_point = *p == '.';
        out += *p++;
        if (is_point && std::strncmp(p, rest_of_point.data(), rest_of_point.size()) == 0)
            p += rest_of_point.size();
    }
    return out;
}
