// SPDX-License-Identifier: MIT
// Word ids and default-language words in, texts out. Callers keep the pointers that they are given for as long as they
// like, so no text ever moves: catalogues are complete before the first look-up, and texts that stand in none are kept
// in a set. English is what everything falls back to. Covered by tests/virtual/langkit_test.cpp.
#include "languages.h"

#include "catalogue.h"
#include "catalogue_sources.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>

namespace langkit {
namespace {

constexpr const char *fallback_language = "en";

// The library's own variable, then the order in which POSIX looks for the language of messages.
std::string language_wanted()
{
    for (const char *variable : {"PELLANG", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char *value = secure_getenv(variable);
        if (value && *value)
            return language_tag(value);
    }
    return fallback_language;
}

std::string made_up_text(int id)
{
    return "Word " + std::to_string(id);
}

const std::string *find_word(const catalogue &texts, int id)
{
    const auto found = texts.words.find(id);
    return found != texts.words.end() ? &found->second : nullptr;
}

} // namespace

void languages::load_if_needed()
{
    if (current_)
        return;
    catalogues_ = load_catalogues();
    english_ = &catalogues_.try_emplace(fallback_language, catalogue{fallback_language, {}, {}}).first->second;
    const auto wanted = catalogues_.find(language_wanted());
    current_ = wanted != catalogues_.end() ? &wanted->second : english_;
}

const char *languages::intern(std::string text)
{
    return made_up_.insert(std::move(text)).first->c_str();
}

languages::answer languages::word(int id)
{
    const std::lock_guard<std::mutex> guard(lock_);
    load_if_needed();
    for (const catalogue *texts : {current_, english_}) {
        if (const std::string *text = find_word(*texts, id))
            return {text->c_str(), true};
    }
    return {intern(made_up_text(id)), false};
}

languages::answer languages::text(const char *word)
{
    const std::lock_guard<std::mutex> guard(lock_);
    load_if_needed();
    const auto found = current_->texts.find(word);
    if (found != current_->texts.end())
        return {found->second.c_str(), true};
    return {intern(word), false};
}

// Of what `find` returns in each language, or where that is null `otherwise`. Callers see a text up to its NUL.
template <typename Find> std::size_t languages::longest(const std::string &otherwise, Find find)
{
    const std::lock_guard<std::mutex> guard(lock_);
    load_if_needed();
    std::size_t most = 0;
    for (const auto &[tag, texts] : catalogues_) {
        const std::string *text = find(texts);
        most = std::max(most, std::strlen((text ? *text : otherwise).c_str()));
    }
    return most;
}

std::size_t languages::longest_text(const char *word)
{
    return longest(word, [word](const catalogue &language) -> const std::string * {
        const auto found = language.texts.find(word);
        return found != language.texts.end() ? &found->second : nullptr;
    });
}

std::size_t languages::longest_word(int id)
{
    return longest(made_up_text(id), [this, id](const catalogue &language) {
        const std::string *text = find_word(language, id);
        return text ? text : find_word(*english_, id);
    });
}

languages::change languages::set_language(const char *name)
{
    const std::lock_guard<std::mutex> guard(lock_);
    load_if_needed();
    const auto found = catalogues_.find(language_tag(name));
    if (found == catalogues_.end())
        return change::no_such_language;
    const catalogue *earlier = std::exchange(current_, &found->second);
    return current_ != earlier ? change::changed : change::none;
}

const char *languages::current_tag()
{
    const std::lock_guard<std::mutex> guard(lock_);
    load_if_needed();
    return current_->language.c_str();
}

} // namespace langkit
