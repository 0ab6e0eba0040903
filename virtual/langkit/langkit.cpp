// SPDX-License-Identifier: MIT
// The language library's interface: each function checks its arguments and hands over to one of the parts. No exception
// gets out: when memory runs out an answer is what it would be for something unknown.
// Covered by tests/virtual/langkit_test.cpp.
#include "languages.h"
#include "modules.h"
#include "notices.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <string>

#pragma GCC visibility push(default)
#include "langkit.h"
#include "langkit_control.h"
#pragma GCC visibility pop

namespace {

constexpr int succeeded = 0;
constexpr int failed = 256;
constexpr std::size_t path_size = 512;
constexpr long no_length = -1;

// Made when the library is loaded, which costs nothing while they are empty, and not at the first use: libraries that
// depend on this one are then torn down before these are, and may still call while they are.
langkit::languages all_languages;
langkit::notices all_notices;

template <typename Answer, typename Call> Answer guarded(Answer answer_on_failure, Call call)
{
    try {
        return call();
    } catch (const std::exception &) {
        return answer_on_failure;
    }
}

const char *answer_text(const langkit::languages::answer &answer, int *status)
{
    if (status)
        *status = answer.is_known ? succeeded : failed;
    return answer.text;
}

} // namespace

const char *lang_load_string(int word_id, int *status, int)
{
    const langkit::languages::answer nothing{"", false};
    return answer_text(guarded(nothing, [=] { return all_languages.word(word_id); }), status);
}

const char *from_default_language(const char *word, int *status)
{
    const langkit::languages::answer nothing{"", false};
    if (!word)
        return answer_text(nothing, status);
    return answer_text(guarded(nothing, [=] { return all_languages.text(word); }), status);
}

int register_language_changed_notify(void (*notify)(int, void *), int add, void *parameter)
{
    if (!notify)
        return failed;
    return guarded(failed, [=] {
        if (!add)
            return all_notices.remove(notify, parameter) ? succeeded : failed;
        all_notices.add(notify, parameter);
        return succeeded;
    });
}

char *get_file_path(const char *module, char *path)
{
    if (!module || !path)
        return nullptr;
    const std::string found = guarded(std::string(), [=] { return langkit::find_module(module); });
    // A path that does not fit would, cut, name another file.
    if (found.empty() || found.size() >= path_size)
        return nullptr;
    *std::copy(found.begin(), found.end(), path) = '\0';
    return path;
}

int langkit_set_language(const char *tag)
{
    using change = langkit::languages::change;
    if (!tag)
        return failed;
    const change done = guarded(change::no_such_language, [=] { return all_languages.set_language(tag); });
    if (done == change::no_such_language)
        return failed;
    if (done == change::none)
        return succeeded;
    return guarded(failed, [] {
        all_notices.send();
        return succeeded;
    });
}

const char *langkit_language(void)
{
    return guarded("", [] { return all_languages.current_tag(); });
}

long langkit_longest_text(const char *word)
{
    if (!word)
        return no_length;
    return guarded(no_length, [=] { return static_cast<long>(all_languages.longest_text(word)); });
}

long langkit_longest_word(int word_id)
{
    return guarded(no_length, [=] { return static_cast<long>(all_languages.longest_word(word_id)); });
}
