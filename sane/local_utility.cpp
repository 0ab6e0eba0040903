// SPDX-License-Identifier: MIT
// The parts of local_utility that keep no state: memory for what is handed out, texts, the small scanners, and the
// table of information items. Tested by tests/sane/local_utility_test.cpp.
#include "local_utility.h"

#include "langkit.h"
#include "option_ids.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace local_utility {

void *acquire_memory(std::size_t size, const char *)
{
    return std::calloc(size, 1);
}

void free_memory(void *block)
{
    std::free(block);
}

SANE_Word word_at(const void *value)
{
    SANE_Word word = 0;
    std::memcpy(&word, value, sizeof(word));
    return word;
}

void store_word(void *value, SANE_Word word)
{
    std::memcpy(value, &word, sizeof(word));
}

void trans_language_if_was_word_id(std::string &text)
{
    const auto point = text.find('.');
    if (point == std::string::npos || text.find_first_not_of('0', point + 1) != std::string::npos)
        return;
    const int word_id = static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
    if (text.compare(0, point, std::to_string(word_id)) != 0)
        return; // leading blanks, zeros or signs, or more than 32 bits
    text = text_or_empty(lang_load_string(word_id, nullptr, 0));
}

std::string translated_word(const char *word)
{
    const char *translated = from_default_language(word, nullptr);
    return translated != nullptr ? translated : word;
}

std::string_view bounded_text(const char *field, std::size_t size)
{
    return {field, strnlen(field, size)};
}

bool is_space(char c)
{
    return c == ' ' || c == '\t';
}

bool is_digital(char c)
{
    return c >= '0' && c <= '9';
}

bool is_hex_num(char c)
{
    int unused = 0;
    return to_num(c, unused, true);
}

bool to_num(char c, int &v, bool hex)
{
    if (is_digital(c))
        v = c - '0';
    else if (hex && c >= 'a' && c <= 'f')
        v = c - 'a' + 10;
    else if (hex && c >= 'A' && c <= 'F')
        v = c - 'A' + 10;
    else
        return false;
    return true;
}

bool skip_space(const char *&p)
{
    const char *const start = p;
    while (is_space(*p))
        ++p;
    return p != start;
}

bool get_limit(const char *&p, std::string &l, std::string &r)
{
    if (*p != '[')
        return false;
    ++p;
    skip_space(p);
    l = p;
    const auto end = l.find(']');
    if (end == std::string::npos)
        return false;
    l.resize(end);
    const auto comma = l.find(',');
    if (comma == std::string::npos)
        return false;
    r = l.substr(comma + 1);
    l.resize(comma);
    return true;
}

bool get_number(const char *&p, double &v)
{
    constexpr double tenth = 0.1F; // single precision
    v = 0;
    if (*p == '-')
        ++p;
    const char *const start = p;
    int digit = 0;
    if (*p != '.') {
        for (; to_num(*p, digit, false); ++p)
            v = v * 10 + digit;
        return p != start;
    }
    if (*++p == '\0')
        return false;
    for (double worth = tenth; to_num(*p, digit, false); ++p, worth *= tenth)
        v += digit * worth;
    return *p != '.';
}

std::string un_json_option_name(int id, int *length)
{
    const auto item = std::find_if(std::begin(information_items), std::end(information_items),
                                   [id](const information_item &candidate) { return candidate.id == id; });
    if (item == std::end(information_items))
        return {};
    if (length != nullptr)
        *length = item->length;
    return item->name;
}

} // namespace local_utility
