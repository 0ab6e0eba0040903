// SPDX-License-Identifier: MIT
// The catalogues with the current language, and look-ups in them.
#ifndef PELSANE_LANGKIT_LANGUAGES_H
#define PELSANE_LANGKIT_LANGUAGES_H

#include "catalogue.h"
#include "catalogue_sources.h"

#include <cstddef>
#include <mutex>
#include <set>
#include <string>

namespace langkit {

// Catalogues and environment are read at the first call, not when the library is loaded. Callable from any thread.
// Every text that is answered is never null and lives as long as the object; all functions may throw std::bad_alloc.
class languages {
public:
    struct answer {
        const char *text;
        bool is_known;
    };
    enum class change { none, changed, no_such_language };

    // The current language's text, else the English one, else a made-up text with the id.
    [[nodiscard]] answer word(int id);

    // The current language's text of a word of the default language, else the word itself.
    [[nodiscard]] answer text(const char *word);

    // Bytes of the longest text that `text` or `word` returns in any of the languages.
    [[nodiscard]] std::size_t longest_text(const char *word);
    [[nodiscard]] std::size_t longest_word(int id);

    [[nodiscard]] change set_language(const char *name);
    [[nodiscard]] const char *current_tag();

private:
    void load_if_needed();
    template <typename Find> std::size_t longest(const std::string &otherwise, Find find);
    [[nodiscard]] const char *intern(std::string text);

    std::mutex lock_;
    catalogue_map catalogues_; // once loaded it does not change
    const catalogue *english_ = nullptr;
    const catalogue *current_ = nullptr;
    std::set<std::string> made_up_;
};

} // namespace langkit

#endif
