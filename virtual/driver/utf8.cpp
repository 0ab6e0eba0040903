// SPDX-License-Identifier: MIT
// The table of RFC 3629, section 4: the first byte tells how many bytes a character has and where its second one may
// lie; all others lie between 0x80 and 0xBF. Tested by driver_options_test.
#include "utf8.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace virtual_scanner {

namespace {

struct sequence {
    unsigned char first; // of the first byte
    unsigned char last;
    std::size_t length;
    unsigned char low; // of the second byte
    unsigned char high;
};

constexpr sequence sequences[] = {
    {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

bool is_within(char byte, unsigned char low, unsigned char high)
{
    const auto value = static_cast<unsigned char>(byte);
    return value >= low && value <= high;
}

// Bytes of the character that the text begins with, 0 when it begins with none.
std::size_t first_character(std::string_view text)
{
    const auto *const found = std::find_if(std::begin(sequences), std::end(sequences), [&](const sequence &each) {
        return is_within(text[0], each.first, each.last);
    });
    if (found == std::end(sequences) || text.size() < found->length)
        return 0;
    if (found->length > 1 && !is_within(text[1], found->low, found->high))
        return 0;
    for (std::size_t i = 2; i < found->length; ++i)
        if (!is_within(text[i], 0x80, 0xBF))
            return 0;
    return found->length;
}

} // namespace

bool is_utf8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t length = first_character(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

} // namespace virtual_scanner
