// SPDX-License-Identifier: MIT
// From a JSON text to the texts of a language. Whatever is wrong with the text is an exception, before anything of it
// is used: a catalogue counts as a whole or not at all. Covered by tests/virtual/langkit_test.cpp.
#include "catalogue.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace langkit {
namespace {

using nlohmann::json;

int parse_word_id(const std::string &text)
{
    int id = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, id);
    if (error != std::errc() || stop != end)
        throw std::runtime_error("word id \"" + text + "\" is not a number");
    return id;
}

const std::string &text_of(const json &value, const std::string &key)
{
    if (!value.is_string())
        throw std::runtime_error("\"" + key + "\" is not a text");
    return value.get_ref<const std::string &>();
}

template <typename Add> void for_each_text(const json &document, const char *section, Add add)
{
    const auto found = document.find(section);
    if (found == document.end())
        return;
    if (!found->is_object())
        throw std::runtime_error(std::string("\"") + section + "\" is not an object");
    for (const auto &[key, value] : found->items())
        add(key, text_of(value, key));
}

std::string parse_language(const json &document)
{
    const auto found = document.find("language");
    std::string tag = found != document.end() ? language_tag(text_of(*found, "language")) : "";
    if (tag.empty())
        throw std::runtime_error("\"language\" is missing");
    return tag;
}

char to_lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

} // namespace

std::string language_tag(std::string_view name)
{
    std::string tag(name.substr(0, name.find_first_of("_-.@")));
    std::transform(tag.begin(), tag.end(), tag.begin(), to_lower);
    return tag;
}

catalogue parse_catalogue(std::string_view text)
{
    const json document = json::parse(text);
    if (!document.is_object())
        throw std::runtime_error("not an object");

    catalogue parsed;
    parsed.language = parse_language(document);
    for_each_text(document, "words", [&](const std::string &id, const std::string &text_of_id) {
        parsed.words[parse_word_id(id)] = text_of_id;
    });
    for_each_text(document, "texts",
                  [&](const std::string &word, const std::string &translation) { parsed.texts[word] = translation; });
    return parsed;
}

void merge(catalogue &base, catalogue &&addition)
{
    base.language = std::move(addition.language);
    for (auto &[id, text] : addition.words)
        base.words[id] = std::move(text);
    for (auto &[word, text] : addition.texts)
        base.texts[word] = std::move(text);
}

} // namespace langkit
