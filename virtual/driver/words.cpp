// SPDX-License-Identifier: MIT
// Access to the language library. Switching is an extension of this project's stand-in: weak references let the
// scanner run on a library without it, where the language stays what it is.
#include "words.h"

#include "langkit.h"
#include "langkit_control.h"
#include "utf8.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <system_error>

#pragma weak langkit_set_language
#pragma weak langkit_language
#pragma weak langkit_longest_text
#pragma weak langkit_longest_word

namespace virtual_scanner {

namespace {

std::size_t length_or_throw(long length)
{
    if (length < 0)
        throw std::bad_alloc();
    return static_cast<std::size_t>(length);
}

std::size_t longest_text(const std::string &word)
{
    if (langkit_longest_text != nullptr)
        return length_or_throw(langkit_longest_text(word.c_str()));
    return in_current_language(word).size();
}

std::size_t longest_word(int id)
{
    if (langkit_longest_word != nullptr)
        return length_or_throw(langkit_longest_word(id));
    return std::strlen(lang_load_string(id, nullptr, 0));
}

std::optional<int> word_id_in(const std::string &word)
{
    const auto point = std::min(word.find('.'), word.size());
    int id = 0;
    const auto [end, failure] = std::from_chars(word.data(), word.data() + point, id);
    const bool is_whole = point < word.size() && word.find_first_not_of('0', point + 1) == std::string::npos;
    if (!is_whole || failure != std::errc() || end != word.data() + point)
        return std::nullopt;
    return id;
}

} // namespace

std::string in_current_language(const std::string &word)
{
    int status = 0;
    std::string text = from_default_language(word.c_str(), &status);
    if (text.empty() && status != 0 && !word.empty())
        throw std::bad_alloc();
    return text;
}

std::string as_shown(const std::string &word, int size)
{
    std::string text = in_current_language(word);
    return text.size() < static_cast<std::size_t>(size) && is_utf8(text) ? text : word;
}

std::size_t longest_shown(const std::string &word)
{
    std::size_t longest = std::max(word.size(), longest_text(word));
    if (const auto id = word_id_in(word))
        longest = std::max(longest, longest_word(*id));
    return longest;
}

bool switch_language(const std::string &tag)
{
    return langkit_set_language != nullptr && langkit_set_language(tag.c_str()) == 0;
}

std::string current_language()
{
    return langkit_language != nullptr ? langkit_language() : "";
}

} // namespace virtual_scanner
