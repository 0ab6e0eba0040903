// SPDX-License-Identifier: MIT
// The texts of one language.
#ifndef PELSANE_LANGKIT_CATALOGUE_H
#define PELSANE_LANGKIT_CATALOGUE_H

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace langkit {

struct catalogue {
    std::string language; // as language_tag answers it
    std::map<int, std::string> words;
    std::map<std::string, std::string, std::less<>> texts; // by their word in the default language
};

// First part of a locale's or a language's name, in lower case: "zh" of "zh_CN.UTF-8".
[[nodiscard]] std::string language_tag(std::string_view name);

// Reads a catalogue file's text:
//     { "language": "en", "words": { "1001": "Paper size" }, "texts": { "双面": "Both sides" } }
// "words" and "texts" may be left out. Throws std::runtime_error, or an exception of the JSON library, with the reason
// why the text is not a catalogue.
[[nodiscard]] catalogue parse_catalogue(std::string_view text);

// Takes the entries of `addition` over into `base`, replacing those of the same key in place: the address of an entry's
// text object stays.
void merge(catalogue &base, catalogue &&addition);

} // namespace langkit

#endif
